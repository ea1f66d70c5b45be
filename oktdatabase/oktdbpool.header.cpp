// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbpool.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>

// The header block of a pool: its own fields, and the places of the objects that it names.

namespace
{
constexpr OKTDbPool::_ObjectInfo kNoPlace = {-1, -1};
} // namespace

FilerStatusDb OKTDbPool::xmlOut(OKTFiler *filer, InfoMap const &info) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginWriteClass(u"Pool", u"OKTDbPool", 6))
        return eFilerClassFailed;
    OKTFrame frame;
    auto const writePlace = [&](_ObjectInfo const *place) {
        _ObjectInfo const &known = place == nullptr ? kNoPlace : *place;
        frame.fold(filer->writeInt(u"nObjectPosition", static_cast<int>(known.nObjectPosition)));
        frame.fold(filer->writeInt(u"nObjectSize", static_cast<int>(known.nObjectSize)));
    };

    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_objectId", m_objectId));
        frame.fold(filer->writeObjectId(u"m_constructId", m_constructId));
        writePlace(info.find(m_constructId));
        // Here the one picture of old files stood (quirk 15).
        frame.fold(filer->writeObjectId(u"idDummy", OKTDbObjectId::kNull));
        writePlace(nullptr);
        frame.fold(filer->writeObjectId(u"m_indexId", m_indexId));
        writePlace(info.find(m_indexId));
        frame.fold(filer->writeString(u"m_strPoolName", m_strPoolName));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(2))
    {
        frame.enterSection();
        // A file is independent of the factor: parameters divide by it when they write (quirk 17).
        frame.fold(filer->writeDouble(u"dfMetricsFactor", m_bFileScope ? 1.0 : m_dfMetricsFactor));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_ppActionsId", m_ppActionsId));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(4))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_sketchId", m_sketchId));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(5))
    {
        frame.enterSection();
        OKTListNames names(u"m_tabPictures");
        IdArray const &pictures = m_tabPictures.ids();
        int const count = pictures.getSize();
        frame.fold(filer->writeInt(u"m_tabPictures.Length", count));
        for (int i = 0; i < count && frame.isOk(); ++i)
        {
            CString const *const name = names.at(i);
            frame.fold(name != nullptr && filer->writeObjectId(*name, pictures.at(i)));
            writePlace(info.find(pictures.at(i)));
        }
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(6))
    {
        frame.enterSection();
        frame.fold(filer->writeObjectId(u"m_radialReinfId", m_radialReinfId));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbPool::xmlIn(OKTFiler *filer, InfoMap &info)
try
{
    info.removeAll();
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Pool", u"OKTDbPool"))
        return eFilerClassFailed;
    OKTFrame frame;
    auto const readPlace = [&](OKTDbObjectId const &id) {
        int position = -1;
        int size = -1;
        frame.fold(filer->readInt(u"nObjectPosition", position));
        frame.fold(filer->readInt(u"nObjectSize", size));
        frame.fold(OktHasMemory([&] { info[id] = {position, size}; }));
    };
    auto const appendPicture = [&](OKTDbObjectId const &id) { frame.fold(OktHasMemory([&] { m_tabPictures.append(id); })); };

    OKTDbObjectId oldPicture;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_objectId", m_objectId));
        frame.fold(filer->readObjectId(u"m_constructId", m_constructId));
        readPlace(m_constructId);
        frame.fold(filer->readObjectId(u"idOldPicture", oldPicture));
        readPlace(oldPicture);
        frame.fold(filer->readObjectId(u"m_indexId", m_indexId));
        readPlace(m_indexId);
        frame.fold(filer->readString(u"m_strPoolName", m_strPoolName));
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(2))
    {
        frame.enterSection();
        double const kept = m_dfMetricsFactor;
        frame.fold(filer->readDouble(u"m_dfMetricsFactor", m_dfMetricsFactor));
        if (m_bFileScope)
            m_dfMetricsFactor = kept;
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(3))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_ppActionsId", m_ppActionsId));
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(4))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_sketchId", m_sketchId));
        filer->endReadMembers();
    }
    m_tabPictures.removeAll(); // also where the section is missing (quirk 20)
    if (filer->beginReadMembers(5))
    {
        frame.enterSection();
        OKTListNames names(u"m_tabPictures");
        int count = 0;
        frame.fold(filer->readInt(u"m_tabPictures.Length", count));
        for (int i = 0; i < count && frame.isOk(); ++i)
        {
            OKTDbObjectId id;
            CString const *const name = names.at(i);
            frame.fold(name != nullptr && filer->readObjectId(*name, id));
            readPlace(id);
            appendPicture(id);
        }
        filer->endReadMembers();
    }
    if (!oldPicture.isNull())
        appendPicture(oldPicture);
    if (filer->beginReadMembers(6))
    {
        frame.enterSection();
        frame.fold(filer->readObjectId(u"m_radialReinfId", m_radialReinfId));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO
