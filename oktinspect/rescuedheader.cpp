#include <oktinspect/rescuedheader.h>

#include <oktformat/valuewalk.h>

#include <oktformat/guids.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>

namespace okt
{

namespace
{

using What = Finding::What;

/// The fields of a header as far as they can be read.
struct HeaderFields
{
    std::optional<_GUID> pool;
    std::optional<_GUID> construct;
    std::optional<_GUID> index;
    std::optional<CString> name;
    std::optional<double> factor;
    std::optional<_GUID> ppActions;
    std::optional<_GUID> sketch;
    std::optional<_GUID> radial;
    std::vector<_GUID> pictures;
    _GUID oldPicture = kNoId; ///< of a file from before the list
    int pictureCount = -1;
};

void takeField(HeaderFields &fields, ByteSource &source, StoredValue const &value)
{
    using Kind = StoredValue::Kind;
    bool const isId = value.kind == Kind::Id && value.isComplete;
    int const place = 100 * value.section + value.ordinal;
    if (place == 100 && isId)
        fields.pool = value.id;
    else if (place == 101 && isId)
        fields.construct = value.id;
    else if (place == 104 && isId)
        fields.oldPicture = value.id;
    else if (place == 107 && isId)
        fields.index = value.id;
    else if (place == 110 && value.kind == Kind::Text16)
        fields.name = textOf(source, value);
    else if (place == 200 && value.kind == Kind::Double)
        fields.factor = value.reals.front();
    else if (place == 300 && isId)
        fields.ppActions = value.id;
    else if (place == 400 && isId)
        fields.sketch = value.id;
    else if (place == 500 && value.kind == Kind::Long)
        fields.pictureCount = value.number;
    else if (value.section == 5 && value.ordinal > 0 && isId)
        fields.pictures.push_back(value.id);
    else if (place == 600 && isId)
        fields.radial = value.id;
}

/// A section of that number which begins at a place in what is left of a header. False: it is none of a header's.
bool takeSectionAt(HeaderFields &fields, std::string_view remains, std::size_t at, char section)
{
    static constexpr std::string_view kFrameBegin("\x06\x05\x09\x00OKTDbPool\x02\x06\x00\x00\x00", 18);
    std::string const bytes = std::string(kFrameBegin) + std::string(remains.substr(at));
    ByteSource source{std::string_view(bytes)};
    ValueWalk walk(source, 0);
    HeaderFields taken = fields;
    bool isHeader = section != 1;
    while (walk.next() && walk.oddAt() < 0 && walk.value().section == section)
    {
        // Every object has a section 1 that begins with an id; in that of a header a second one follows.
        if (section == 1 && walk.value().ordinal == 1)
            isHeader = walk.value().kind == StoredValue::Kind::Id;
        takeField(taken, source, walk.value());
    }
    if (isHeader)
        fields = std::move(taken);
    return isHeader;
}

/// The first section of that number in what is left of a header.
void takeSection(HeaderFields &fields, std::string_view remains, char section)
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
std::vector<Finding> complete(HeaderFields &fields, HeaderHints const &hints)
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
    if (!fields.pool)
    {
        fields.pool = hints.owner;
        noteId(fields.pool, What::PoolIdFromOwner, What::PoolIdNew);
    }
    if (!fields.name)
        note(What::PoolNameLost);
    if (!fields.construct)
    {
        fields.construct = hints.construct;
        noteId(hints.construct, What::ConstructFound, What::ConstructLost);
    }
    if (!fields.index)
    {
        fields.index = hints.index;
        noteId(hints.index, What::IndexFound, What::IndexLost);
    }
    if (fields.pictureCount < 0 || static_cast<int>(fields.pictures.size()) != fields.pictureCount)
    {
        std::size_t const known = fields.pictures.size();
        for (_GUID const &picture : hints.pictures)
            if (std::none_of(fields.pictures.begin(), fields.pictures.end(),
                             [&picture](_GUID const &listed) { return isSame(listed, picture); }))
                fields.pictures.push_back(picture);
        if (fields.pictures.size() != known)
            note(What::PicturesFound, {{"count", static_cast<std::int64_t>(fields.pictures.size() - known)}});
        else
            note(What::PicturesLost);
    }
    std::string lost;
    for (auto const &[isLost, name] : {std::pair(!fields.ppActions, "ppActions"), std::pair(!fields.sketch, "sketch"),
                                       std::pair(!fields.radial, "radial reinforcement")})
        lost += isLost ? (lost.empty() ? "" : ", ") + std::string(name) : "";
    if (!lost.empty())
        note(What::IdsLost, {{"names", lost}});
    return notes;
}

} // namespace

RescuedHeader rescueHeader(std::string_view remains, HeaderHints const &hints, InfoMap const &places)
{
    // Sections are looked for one by one, each by how it begins; what stands in front of a fault in it counts.
    HeaderFields fields;
    for (char section = 1; section <= 6; ++section)
        takeSection(fields, remains, section);
    RescuedHeader rescued;
    rescued.notes = complete(fields, hints);

    OKTDbPool pool;
    if (fields.pool)
        pool.setObjectId(toId(*fields.pool));
    pool.setPoolName(fields.name.value_or(CString()));
    pool.setMetricsFactor(fields.factor.value_or(1.0));
    pool.setConstructId(toId(fields.construct.value_or(kNoId)));
    pool.setIndexId(toId(fields.index.value_or(kNoId)));
    pool.setPPActionsId(toId(fields.ppActions.value_or(kNoId)));
    pool.setSketchId(toId(fields.sketch.value_or(kNoId)));
    pool.setRadialReinfId(toId(fields.radial.value_or(kNoId)));
    IdArray pictures;
    for (_GUID const &picture : fields.pictures)
        pictures.append(toId(picture));
    if (!isSame(fields.oldPicture, kNoId))
        pictures.append(toId(fields.oldPicture));
    pool.setPicturesIds(pictures);
    OKTMemoryFiler filer;
    pool.xmlOut(&filer, places);
    CByteArray bytes;
    filer.saveFiler(bytes);
    rescued.bytes.assign(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
    return rescued;
}

} // namespace okt
