// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

/// The two classes that a pool knows by name, as client modules bring them: a frame of class version 1 with one section of a
/// signed integer and a text. They are in the registry, under the names "OKTDbConstruct" and "OKTDbIndexData", while a
/// ClientClasses lives; whatever else holds the names comes back at its end.
class ClientConstruct : public OKTDbObject
{
    OKT_STORED_CLASS(ClientConstruct)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    int m_number = 0;
    CString m_text;
};

class ClientIndexData : public OKTDbObject
{
    OKT_STORED_CLASS(ClientIndexData)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    int m_number = 0;
    CString m_text;
};

class ClientClasses
{
public:
    ClientClasses();
    ClientClasses(ClientClasses const &) = delete;
    ClientClasses &operator=(ClientClasses const &) = delete;
    ~ClientClasses();

private:
    OKTRuntimeClass *m_construct;
    OKTRuntimeClass *m_index;
};

/// A stored class that fails on demand: it gives a status of its own after its frame, or throws in the middle of it. The
/// settings hold for all its objects and are put back by a ClientFaults.
class ClientFaulty : public OKTDbObject
{
    OKT_STORED_CLASS(ClientFaulty)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    static inline FilerStatusDb s_readStatus = eFilerOk;
    static inline FilerStatusDb s_writeStatus = eFilerOk;
    static inline bool s_throwsInRead = false;
    static inline bool s_throwsInWrite = false;
    static inline int s_rootHints = 0; ///< how often xmlIn found the hint that a root object is read
};

class ClientFaults
{
public:
    ClientFaults() = default;
    ClientFaults(ClientFaults const &) = delete;
    ClientFaults &operator=(ClientFaults const &) = delete;
    ~ClientFaults();
};
