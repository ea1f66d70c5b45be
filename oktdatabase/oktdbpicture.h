// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktgexyz.h>
#include <oktplatform/oktarrays.h>

/// One picture of a template: the bytes of an image in whatever format the client uses, and the camera it was taken from.
/// Stored as base64 text in chunks of 65535 characters.
class OKT_API OKTDbPicture : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbPicture)

    /// Without data, all three points at the origin.
    OKTDbPicture();
    OKTDbPicture(OKTDbPicture const &other);
    OKTDbPicture &operator=(OKTDbPicture const &other);
    ~OKTDbPicture() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    /// Camera position, target point, up vector.
    void getCameraData(OKTGeXYZ &camera, OKTGeXYZ &target, OKTGeXYZ &up) const;
    void setCameraData(OKTGeXYZ const &camera, OKTGeXYZ const &target, OKTGeXYZ const &up);
    /// Copies the bytes; the target is emptied first.
    void getPictureData(CByteArray &data);
    /// Keeps a copy of the bytes.
    void setPictureData(CByteArray const &data);

private:
    CByteArray m_pictureData;
    OKTGeXYZ m_pntCamera;
    OKTGeXYZ m_pntTarget;
    OKTGeXYZ m_vecUp;
};
