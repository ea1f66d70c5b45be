// SPDX-License-Identifier: MIT
#include <oktrebar/templateedit.h>

#include <oktrebar/storedplan.h>

#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

namespace okt
{

namespace
{

constexpr std::size_t kLongestText = 65535;

void appendLittle(std::string &out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(value >> (8 * i) & 0xFF);
}

/// A stretch of the file, and the bytes in its place.
struct Edit
{
    std::int64_t begin;
    std::int64_t end;
    std::string bytes;

    std::int64_t growth() const { return static_cast<std::int64_t>(bytes.size()) - (end - begin); }
};

/// The record of the value in the frame of a variant.
RecordPlace valueRecord(ByteSource &source, std::int64_t variant)
{
    RecordWalk walk(source, variant);
    for (int plain = 0; walk.next();)
        if (RecordType const type = walk.record().type; type != RecordType::FrameBegin && type != RecordType::FrameEnd &&
                                                        type != RecordType::SectionBegin && type != RecordType::SectionEnd)
            if (++plain == 2) // the first is the kind
                return walk.record();
    throw EditRefused("the record of its value is missing");
}

std::string recordOf(RecordPlace const &old, ParameterValue const &value)
{
    std::string bytes(1, static_cast<char>(old.type));
    std::int32_t const *whole = std::get_if<std::int32_t>(&value);
    std::int32_t const truth = std::holds_alternative<bool>(value) && std::get<bool>(value) ? -1 : 0;
    if (std::holds_alternative<bool>(value))
        whole = &truth;
    double const *const real = std::get_if<double>(&value);
    std::string const *const text = std::get_if<std::string>(&value);
    if (old.type == RecordType::Double && real != nullptr)
        appendLittle(bytes, std::bit_cast<std::uint64_t>(*real), 8);
    else if (old.type == RecordType::Long && whole != nullptr)
        appendLittle(bytes, static_cast<std::uint32_t>(*whole), 4);
    else if (old.type == RecordType::Short && whole != nullptr)
        appendLittle(bytes, static_cast<std::uint16_t>(*whole), 2);
    else if (old.type == RecordType::Text16 && text != nullptr)
    {
        CString const units = CString::FromUtf8(*text);
        if (static_cast<std::size_t>(units.GetLength()) > kLongestText)
            throw EditRefused("the text is longer than a file can hold");
        appendLittle(bytes, static_cast<std::uint64_t>(units.GetLength()), 2);
        for (int i = 0; i < units.GetLength(); ++i)
            appendLittle(bytes, static_cast<std::uint16_t>(units.GetAt(i)), 2);
    }
    else if (old.type == RecordType::Text8 && text != nullptr)
    {
        bool const isPlain = std::all_of(text->begin(), text->end(), [](char c) { return static_cast<signed char>(c) > 0; });
        if (!isPlain || text->size() > kLongestText)
            throw EditRefused("its text is kept in 8-bit characters, and the new one cannot be");
        appendLittle(bytes, text->size(), 2);
        bytes += *text;
    }
    else
        throw EditRefused("its value is kept in another way than the kind says");
    return bytes;
}

class Editor
{
public:
    Editor(std::string_view bytes, StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &values,
           EditOptions const &options)
        : m_bytes(bytes), m_source(bytes), m_pool(pool), m_drawn(drawn), m_values(values), m_options(options)
    {
    }

    EditedTemplate run()
    {
        if (!m_pool.faults.empty())
            throw EditRefused(m_pool.faults.front().reason);
        for (auto const &[index, value] : m_values)
        {
            StoredParameter const &parameter = m_pool.parameters[index];
            try
            {
                RecordPlace const old = valueRecord(m_source, parameter.valueBegin);
                m_edits.push_back({old.begin, old.end, recordOf(old, value)});
            }
            catch (EditRefused const &refused)
            {
                throw EditRefused(sentence("{}: {}", excerpt(parameter.name), refused.what()));
            }
        }
        if (m_options.withPictures)
            drawPictures();
        std::sort(m_edits.begin(), m_edits.end(), [](Edit const &left, Edit const &right) { return left.begin < right.begin; });
        patchHeader();
        m_result.bytes = joined();
        if (m_result.bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
            throw EditRefused("the file would be larger than 2 GB");
        check();
        return std::move(m_result);
    }

private:
    std::string_view frameOf(StoredPicture const &picture) const
    {
        return m_bytes.substr(static_cast<std::size_t>(picture.begin), static_cast<std::size_t>(picture.end - picture.begin));
    }

    void keepPictures(PictureChange why)
    {
        m_result.picture = why;
        for (StoredPicture const &picture : m_pool.pictures)
            m_result.outOfDate.push_back(picture.id);
    }

    /// Drawing takes longer than all else, so nothing is drawn that can be told without.
    void drawPictures()
    {
        if (m_pool.pictures.empty())
            return;
        TemplateKind const kind = planOf(m_pool, m_drawn).kind;
        if (kind == TemplateKind::Other)
            return keepPictures(PictureChange::NotDrawn);
        bool const mayShow = std::any_of(m_values.begin(), m_values.end(), [&](auto const &change) {
            StoredParameter const &parameter = m_pool.parameters[change.first];
            return isInPreview(kind, {parameter.type, parameter.listIndex});
        });
        if (!mayShow)
        {
            m_result.picture = PictureChange::Same;
            return;
        }
        std::vector<std::optional<CByteArray>> images;
        for (StoredPicture const &picture : m_pool.pictures)
        {
            images.push_back(imageIn(frameOf(picture)));
            if (images.back() && !mayBeDrawnHere(*images.back()))
                images.back().reset();
        }
        if (std::none_of(images.begin(), images.end(), [](auto const &image) { return image.has_value(); }))
            return keepPictures(PictureChange::OutOfDate);
        std::optional<Preview> const before = previewOf(m_pool, m_drawn);
        if (!before)
            return keepPictures(PictureChange::NotDrawn);
        for (std::optional<CByteArray> &image : images)
            if (image && !isSameImage(*image, before->png))
                image.reset();
        if (std::none_of(images.begin(), images.end(), [](auto const &image) { return image.has_value(); }))
            return keepPictures(PictureChange::OutOfDate);
        std::optional<Preview> const after = previewOf(m_pool, m_drawn, m_values);
        if (!after)
            return keepPictures(PictureChange::NotDrawn);
        m_result.picture = isSameImage(before->png, after->png) ? PictureChange::Same : PictureChange::OutOfDate;
        if (m_result.picture == PictureChange::Same)
            return;
        for (std::size_t i = 0; i < images.size(); ++i)
            replacePicture(m_pool.pictures[i], images[i].has_value(), *before, *after);
    }

    void replacePicture(StoredPicture const &picture, bool isOurs, Preview const &before, Preview const &after)
    {
        std::optional<CByteArray> const drawn = isOurs ? withImage(frameOf(picture), before, after) : std::nullopt;
        if (!drawn)
            return m_result.outOfDate.push_back(picture.id);
        m_result.picture = PictureChange::Drawn;
        m_edits.push_back(
            {picture.begin, picture.end,
             std::string(reinterpret_cast<char const *>(drawn->GetData()), static_cast<std::size_t>(drawn->GetSize()))});
    }

    /// What the edits in front of a place, or between two, add.
    std::int64_t growthIn(std::int64_t begin, std::int64_t end) const
    {
        std::int64_t sum = 0;
        for (Edit const &edit : m_edits)
            if (edit.begin >= begin && edit.end <= end)
                sum += edit.growth();
        return sum;
    }

    /// Positions count from the end of the header. What is no place of an object there moves as its bytes do.
    void patchHeader()
    {
        std::vector<Edit> patches;
        std::int64_t const block = m_pool.header.end;
        HeaderWalk walk(m_source, m_pool.header.begin);
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            if (value.kind != StoredValue::Kind::Long || (!walk.isPosition() && !walk.isSize()) || value.number < 0)
                continue;
            std::int64_t const begin = block + (walk.isPosition() ? value.number : walk.position());
            std::int64_t const growth =
                walk.isPosition() ? growthIn(block, begin) : growthIn(begin, begin + std::int64_t{value.number});
            if (growth == 0)
                continue;
            std::string bytes(1, static_cast<char>(RecordType::Long));
            appendLittle(bytes, static_cast<std::uint32_t>(value.number + growth), 4);
            patches.push_back({value.begin, value.end, std::move(bytes)});
        }
        m_edits.insert(m_edits.begin(), patches.begin(), patches.end());
    }

    std::string joined() const
    {
        std::string result;
        std::size_t at = 0;
        for (Edit const &edit : m_edits)
        {
            result += m_bytes.substr(at, static_cast<std::size_t>(edit.begin) - at);
            result += edit.bytes;
            at = static_cast<std::size_t>(edit.end);
        }
        return result += m_bytes.substr(at);
    }

    [[noreturn]] static void refuseOutcome()
    {
        throw EditRefused("the outcome does not read back as it should; the file is left as it was");
    }

    /// Goes through both files side by side.
    void check()
    {
        ByteSource source(m_result.bytes);
        HeaderPlace const header = findHeader(source);
        if (!header.isWhole || header.end != m_pool.header.end)
            refuseOutcome();
        ObjectScan before(m_source, m_pool.header.end);
        ObjectScan after(source, header.end);
        for (;;)
        {
            std::optional<Stretch> const old = before.next();
            std::optional<Stretch> const made = after.next();
            if (!old && !made)
                break;
            if (!old || !made || old->kind != made->kind || made->size() != old->size() + growthIn(old->begin, old->end))
                refuseOutcome();
            bool const isEdited = std::any_of(m_edits.begin(), m_edits.end(), [&old](Edit const &edit) {
                return edit.begin >= old->begin && edit.end <= old->end;
            });
            if (!isEdited && m_bytes.substr(static_cast<std::size_t>(old->begin), static_cast<std::size_t>(old->size())) !=
                                 std::string_view(m_result.bytes)
                                     .substr(static_cast<std::size_t>(made->begin), static_cast<std::size_t>(made->size())))
                refuseOutcome();
        }
        StoredTemplate const again = readTemplate(source);
        if (again.parameters.size() != m_pool.parameters.size())
            refuseOutcome();
        for (std::size_t i = 0; i < again.parameters.size(); ++i)
        {
            auto const found = m_values.find(i);
            if (again.parameters[i].value != (found == m_values.end() ? m_pool.parameters[i].value : found->second) &&
                again.parameters[i].number() == again.parameters[i].number()) // not a number is never itself
                refuseOutcome();
        }
    }

    std::string_view m_bytes;
    ByteSource m_source;
    StoredTemplate const &m_pool;
    LengthUnit const &m_drawn;
    ChangedValues const &m_values;
    EditOptions const &m_options;
    std::vector<Edit> m_edits;
    EditedTemplate m_result;
};

} // namespace

EditedTemplate edited(std::string_view bytes, StoredTemplate const &pool, LengthUnit const &drawn, ChangedValues const &values,
                      EditOptions const &options)
{
    return Editor(bytes, pool, drawn, values, options).run();
}

} // namespace okt
