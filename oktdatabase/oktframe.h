// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktplatform/oktstring.h>

#include <new>

class OKTFiler;

/// What comes of a class frame while its sections are written or read. Not installed.
class OKTFrame
{
public:
    void enterSection() { ++m_sections; }
    /// Folds the result of one member in; gives whether all of them succeeded so far.
    bool fold(bool done)
    {
        m_ok = done && m_ok;
        return m_ok;
    }
    bool isOk() const { return m_ok; }
    FilerStatusDb status() const
    {
        if (m_sections < 1)
            return eFilerNoMembers;
        return m_ok ? eFilerOk : eFilerMemberFailed;
    }

private:
    bool m_ok = true;
    int m_sections = 0;
};

void OktReportShortage();

/// Does what needs memory of a class's own, apart from that of its filer. False, and reported: there was none. So want of memory
/// is a failed member like any other; an exception that left xmlOut or xmlIn would count as success (quirk 6). Not installed.
template <typename F> bool OktHasMemory(F work)
{
    try
    {
        work();
        return true;
    }
    catch (std::bad_alloc const &)
    {
        OktReportShortage();
        return false;
    }
}

/// An empty text whose buffer each thread keeps from one use to the next, so that a text for a filer's eyes allocates nothing
/// as a rule. Not installed.
class OKTScratchText
{
public:
    OKTScratchText();
    OKTScratchText(OKTScratchText const &) = delete;
    OKTScratchText &operator=(OKTScratchText const &) = delete;
    ~OKTScratchText();

    CString &text() { return m_text; }

private:
    CString m_text;
};

/// The names of a list's entries: "list.0", "list.1". Not installed.
class OKTListNames
{
public:
    explicit OKTListNames(CString const &list) : m_list(list) {}

    /// Good until the next call. Null, and reported: there is no memory for it.
    CString const *at(int index);

private:
    CString m_list;
    OKTScratchText m_name;
};

/// An id as lists keep it: without the cached object where it has a pool to ask, so that an erased object is not reached
/// through the list.
OKTDbObjectId idForList(OKTDbObjectId id);

/// A list of ids as members of a section: the length, under the list's name with ".Length" behind it, then each id, ending early
/// once a member of the frame has failed. Reading empties the list first and appends an id also where its read failed, which then
/// ends the list.
void writeIdList(OKTFiler &filer, CString const &list, CString const &length, IdArray const &ids, OKTFrame &frame);
void readIdList(OKTFiler &filer, CString const &list, CString const &length, IdArray &ids, OKTFrame &frame);
