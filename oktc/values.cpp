// SPDX-License-Identifier: MIT
#include <oktc/handles.h>
#include <oktc/objects.h>
#include <oktc/texts.h>

#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>

// Parameters and pictures.

using namespace oktc;

namespace
{

template <typename Body> OktcStatus ofParameter(Results const &results, OktcObject handle, Body body)
{
    return call(results, [&] {
        UsedPool used(handle, true);
        body(as<OKTDbParameter>(used.object()));
        checkReports();
    });
}

tagVARIANT valueOf(OKTDbParameter const &parameter, VARTYPE kind)
{
    tagVARIANT const value = parameter.Value();
    if (value.vt != kind)
        refuse(OKTC_WRONG_KIND, "the value is of another kind");
    return value;
}

void give(OKTGeXYZ const &point, double *out)
{
    out[0] = point.X();
    out[1] = point.Y();
    out[2] = point.Z();
}

} // namespace

OktcStatus OKTC_CALL oktcParameterType(OktcObject parameter, int32_t *type)
{
    return ofParameter(Results(type), parameter, [&](OKTDbParameter const &it) { *type = it.Type(); });
}

OktcStatus OKTC_CALL oktcParameterSetType(OktcObject parameter, int32_t type)
{
    return ofParameter(Results(), parameter, [&](OKTDbParameter &it) { it.setType(type); });
}

OktcStatus OKTC_CALL oktcParameterTypeName(OktcObject parameter, char **name, uint64_t *length)
{
    return ofParameter(Results(name, length), parameter, [&](OKTDbParameter const &it) {
        CString const text = it.getTypeName();
        checkReports();
        oktc::give(plain(text), name, length);
    });
}

OktcStatus OKTC_CALL oktcParameterIsLength(OktcObject parameter, int32_t *isLength)
{
    return ofParameter(Results(isLength), parameter,
                       [&](OKTDbParameter const &it) { *isLength = it.isInDrawingUnits() ? 1 : 0; });
}

OktcStatus OKTC_CALL oktcParameterListIndex(OktcObject parameter, int32_t *listIndex)
{
    return ofParameter(Results(listIndex), parameter, [&](OKTDbParameter const &it) { *listIndex = it.ListIndex(); });
}

OktcStatus OKTC_CALL oktcParameterSetListIndex(OktcObject parameter, int32_t listIndex)
{
    return ofParameter(Results(), parameter, [&](OKTDbParameter &it) { it.setListIndex(listIndex); });
}

OktcStatus OKTC_CALL oktcParameterListCode(OktcObject parameter, char **code, uint64_t *length)
{
    return ofParameter(Results(code, length), parameter, [&](OKTDbParameter const &it) {
        CString const text = it.getListIndex();
        checkReports();
        oktc::give(plain(text), code, length);
    });
}

OktcStatus OKTC_CALL oktcParameterKind(OktcObject parameter, int32_t *kind)
{
    return ofParameter(Results(kind), parameter, [&](OKTDbParameter const &it) { *kind = it.Value().vt; });
}

OktcStatus OKTC_CALL oktcParameterDouble(OktcObject parameter, double *value)
{
    return ofParameter(Results(value), parameter, [&](OKTDbParameter const &it) { *value = valueOf(it, VT_R8).dblVal; });
}

OktcStatus OKTC_CALL oktcParameterInt(OktcObject parameter, int32_t *value)
{
    return ofParameter(Results(value), parameter, [&](OKTDbParameter const &it) { *value = valueOf(it, VT_I4).lVal; });
}

OktcStatus OKTC_CALL oktcParameterBool(OktcObject parameter, int32_t *value)
{
    return ofParameter(Results(value), parameter,
                       [&](OKTDbParameter const &it) { *value = valueOf(it, VT_BOOL).boolVal != 0 ? 1 : 0; });
}

OktcStatus OKTC_CALL oktcParameterSetDouble(OktcObject parameter, double value)
{
    return ofParameter(Results(), parameter, [&](OKTDbParameter &it) { it.setValue(value, it.ListIndex()); });
}

OktcStatus OKTC_CALL oktcParameterSetInt(OktcObject parameter, int32_t value)
{
    return ofParameter(Results(), parameter, [&](OKTDbParameter &it) { it.setValue(static_cast<int>(value), it.ListIndex()); });
}

OktcStatus OKTC_CALL oktcParameterSetBool(OktcObject parameter, int32_t value)
{
    return ofParameter(Results(), parameter, [&](OKTDbParameter &it) { it.setValue(value != 0, it.ListIndex()); });
}

// --- Pictures ----------------------------------------------------------------------------------------------------------------

OktcStatus OKTC_CALL oktcPictureData(OktcObject picture, uint8_t **bytes, uint64_t *length)
{
    return call(Results(bytes, length), [&] {
        UsedPool used(picture, true);
        CByteArray data;
        as<OKTDbPicture>(used.object()).getPictureData(data);
        checkReports();
        oktc::give(data.GetData(), static_cast<std::size_t>(data.GetSize()), bytes);
        *length = static_cast<std::uint64_t>(data.GetSize());
    });
}

OktcStatus OKTC_CALL oktcPictureSetData(OktcObject picture, void const *bytes, uint64_t length)
{
    return call([&] {
        UsedPool used(picture, true);
        as<OKTDbPicture>(used.object()).setPictureData(bytesOf(bytes, length));
        checkReports();
    });
}

OktcStatus OKTC_CALL oktcPictureCamera(OktcObject picture, double camera[3], double target[3], double up[3])
{
    return call(Results(camera, target, up), [&] {
        UsedPool used(picture, true);
        OKTGeXYZ points[3];
        as<OKTDbPicture>(used.object()).getCameraData(points[0], points[1], points[2]);
        give(points[0], camera);
        give(points[1], target);
        give(points[2], up);
    });
}

OktcStatus OKTC_CALL oktcPictureSetCamera(OktcObject picture, double const camera[3], double const target[3],
                                          double const up[3])
{
    return call([&] {
        UsedPool used(picture, true);
        OKTDbPicture &it = as<OKTDbPicture>(used.object());
        needed(camera, "the place of the camera");
        needed(target, "the target");
        needed(up, "the direction up");
        it.setCameraData({camera[0], camera[1], camera[2]}, {target[0], target[1], target[2]}, {up[0], up[1], up[2]});
    });
}
