// SPDX-License-Identifier: MIT
#include <oktinspect/rescuedheader.h>

#include <oktformat/poolheader.h>

#include <oktformat/guids.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

#include <algorithm>

namespace okt
{

namespace
{

using What = Finding::What;

/// A section of that number which begins at a place in what is left of a header. False: it is none of a header's.
bool takeSectionAt(PoolHeader &fields, std::string_view remains, std::size_t at, char section)
{
    static constexpr std::string_view kFrameBegin("\x06\x05\x09\x00OKTDbPool\x02\x06\x00\x00\x00", 18);
    std::string const bytes = std::string(kFrameBegin) + std::string(remains.substr(at));
    ByteSource source{std::string_view(bytes)};
    HeaderWalk walk(source, 0);
    PoolHeader taken = fields;
    bool isHeader = section != 1;
    while (walk.next() && walk.oddAt() < 0 && walk.value().section == section)
    {
        // Every object has a section 1 that begins with an id; in that of a header a second one follows.
        if (section == 1 && walk.value().ordinal == 1)
            isHeader = walk.value().kind == StoredValue::Kind::Id;
        taken.take(source, walk);
    }
    if (isHeader)
        fields = std::move(taken);
    return isHeader;
}

/// The first section of that number in what is left of a header.
void takeSection(PoolHeader &fields, std::string_view remains, char section)
{
    static constexpr std::string_view kId("\x06\x05\x0B\x00OKTObjectId", 15);
    std::string begin("\x08\x02\x00\x00\x00\x00", 6);
    begin[2] = section;
    begin += section == 2 ? std::string_view("\x03", 1) : section == 5 ? std::string_view("\x02", 1) : kId;
    for (std::size_t at = remains.find(begin); at != std::string_view::npos; at = remains.find(begin, at + 1))
        if (takeSectionAt(fields, remains, at, section))
            return;
}

/// The fields that are lost are taken from the objects, as far as they tell them. Gives a note for each.
std::vector<Finding> complete(PoolHeader &fields, HeaderHints const &hints)
{
    std::vector<Finding> notes;
    auto const note = [&notes](What what, std::vector<Fact> facts = {}) {
        notes.push_back(makeFinding(what, 0, std::move(facts)));
    };
    auto const noteId = [&note](std::optional<_GUID> const &found, What ifFound, What ifLost) {
        if (found)
            note(ifFound, {{"id", *found}});
        else
            note(ifLost);
    };
    auto const found = [](std::optional<_GUID> const &id) {
        return id ? std::optional(HeaderReference{*id, -1, -1, -1, false}) : std::nullopt;
    };
    if (!fields.id)
    {
        fields.id = hints.owner;
        noteId(fields.id, What::PoolIdFromOwner, What::PoolIdNew);
    }
    if (!fields.name)
        note(What::PoolNameLost);
    if (!fields.construct)
    {
        fields.construct = found(hints.construct);
        noteId(hints.construct, What::ConstructFound, What::ConstructLost);
    }
    if (!fields.index)
    {
        fields.index = found(hints.index);
        noteId(hints.index, What::IndexFound, What::IndexLost);
    }
    if (fields.pictureCount < 0 || static_cast<int>(fields.pictures.size()) != fields.pictureCount)
    {
        std::size_t const known = fields.pictures.size();
        for (_GUID const &picture : hints.pictures)
            if (std::none_of(fields.pictures.begin(), fields.pictures.end(),
                             [&picture](HeaderReference const &listed) { return isSame(listed.id, picture); }))
                fields.pictures.push_back(*found(picture));
        if (fields.pictures.size() != known)
            note(What::PicturesFound, {{"count", static_cast<std::int64_t>(fields.pictures.size() - known)}});
        else
            note(What::PicturesLost);
    }
    std::string lost;
    for (auto const &[isLost, name] : {std::pair(!fields.ppActions, "ppActions"), std::pair(!fields.sketch, "sketch"),
                                       std::pair(!fields.radialReinf, "radial reinforcement")})
        lost += isLost ? (lost.empty() ? "" : ", ") + std::string(name) : "";
    if (!lost.empty())
        note(What::IdsLost, {{"names", lost}});
    return notes;
}

} // namespace

RescuedHeader rescueHeader(std::string_view remains, HeaderHints const &hints, InfoMap const &places)
{
    // Sections are looked for one by one, each by how it begins; what stands in front of a fault in it counts.
    PoolHeader fields;
    for (char section = 1; section <= 6; ++section)
        takeSection(fields, remains, section);
    RescuedHeader rescued;
    rescued.notes = complete(fields, hints);

    auto const idOf = [](std::optional<HeaderReference> const &reference) { return toId(reference ? reference->id : kNoId); };
    OKTDbPool pool;
    if (fields.id)
        pool.setObjectId(toId(*fields.id));
    pool.setPoolName(fields.name.value_or(CString()));
    pool.setMetricsFactor(fields.factor.value_or(1.0));
    pool.setConstructId(idOf(fields.construct));
    pool.setIndexId(idOf(fields.index));
    pool.setPPActionsId(idOf(fields.ppActions));
    pool.setSketchId(idOf(fields.sketch));
    pool.setRadialReinfId(idOf(fields.radialReinf));
    IdArray pictures;
    for (HeaderReference const &picture : fields.pictures)
        pictures.append(toId(picture.id));
    if (fields.oldPicture && !isSame(fields.oldPicture->id, kNoId))
        pictures.append(toId(fields.oldPicture->id));
    pool.setPicturesIds(pictures);
    OKTMemoryFiler filer;
    OktWithMemory([&] { return pool.xmlOut(&filer, places); });
    CByteArray bytes;
    filer.saveFiler(bytes);
    rescued.bytes.assign(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
    return rescued;
}

} // namespace okt
