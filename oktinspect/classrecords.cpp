// SPDX-License-Identifier: MIT
#include <oktinspect/classrecords.h>

#include <oktinspect/classname.h>

#include <oktplatform/oktvariant.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace okt
{

namespace
{

using What = Finding::What;

// An upper limit for the version of a class.
constexpr std::int32_t kMostVersions = 1000;

/// The stored form of a class: for each section one letter a member: l long, d double, t text, 8 an 8-bit text, i id,
/// v variant, p point, ? the value of a variant. # is a count; what follows up to the semicolon is repeated that many times.
struct Form
{
    KnownClass known;
    std::string_view name;
    KnownClass base;
    std::vector<std::string> sections; ///< as many as the class has versions
};

std::vector<Form> const &forms()
{
    static std::vector<Form> const kForms = {
        {KnownClass::Pool, "OKTDbPool", KnownClass::Other, {"iillillillt", "d", "i", "i", "#ill;", "i"}},
        {KnownClass::Object, "OKTDbObject", KnownClass::Other, {"i"}},
        {KnownClass::Parameter, "OKTDbParameter", KnownClass::Object, {"tlvlii#i;t", "t"}},
        {KnownClass::Category, "OKTDbCategory", KnownClass::Object, {"i#i;t"}},
        {KnownClass::GroupCategory, "OKTDbGroupCategory", KnownClass::Object, {"#i;"}},
        {KnownClass::Relation, "OKTDbRelation", KnownClass::Object, {""}},
        {KnownClass::ParamRelation, "OKTDbParamRelation", KnownClass::Relation, {"#i;"}},
        {KnownClass::Picture, "OKTDbPicture", KnownClass::Object, {"8", "#8;", "ppp"}},
        {KnownClass::Id, "OKTObjectId", KnownClass::Other, {"llll"}},
        {KnownClass::Variant, "OKTVariant", KnownClass::Other, {"l?"}},
        {KnownClass::Point, "OKTGeXYZ", KnownClass::Other, {"ddd"}},
    };
    return kForms;
}

Form const &formOf(KnownClass known)
{
    static Form const kNone = {KnownClass::Other, "", KnownClass::Other, {}};
    for (Form const &form : forms())
        if (form.known == known)
            return form;
    return kNone;
}

/// The letter of the value of a variant of that kind.
std::string valueOfKind(std::int32_t kind)
{
    switch (kind)
    {
    case VT_I2: return "s";
    case VT_I4:
    case VT_BOOL: return "l";
    case VT_R4:
    case VT_R8: return "d";
    case VT_BSTR: return "t";
    default: return "";
    }
}

char const *nameOf(char member)
{
    switch (member)
    {
    case 'b': return "bool";
    case 's': return "short";
    case 'l':
    case '#': return "long";
    case 'd': return "double";
    case 't': return "text";
    case '8': return "8-bit text";
    case 'B': return "byte array";
    case 'i': return "id";
    case 'v': return "variant";
    case 'p': return "point";
    case '?': return "value";
    default: return "frame";
    }
}

class Check
{
public:
    /// `outer`: the class to compare the outermost frame with, whatever name it has.
    Check(ByteSource &source, std::int64_t begin, KnownClass outer = KnownClass::Other)
        : m_source(source), m_begin(begin), m_walk(source, begin), m_outer(outer)
    {
    }

    RecordCheck run()
    {
        while (!m_isAstray && m_walk.next())
            take(m_walk.record());
        return std::move(m_check);
    }

private:
    struct Level
    {
        Form const *form;
        std::string name;
        std::int64_t begin;
        std::int32_t version;
        bool hasBase = false;
        std::int32_t section = 0; ///< the last one
        bool isInSection = false;
        bool isKnownSection = false;
        std::string members; ///< of the section
        std::size_t next = 0;
        std::size_t groupBegin = 0; ///< of a list: what is repeated
        std::size_t groupEnd = 0;
        std::int64_t left = 0; ///< of a list: repetitions that are still due
        std::int64_t more = 0; ///< how many there are beyond the count
        std::int64_t listAt = -1;
    };

    void fault(Finding finding, bool isAstray = false)
    {
        finding.object = m_begin;
        m_check.faults.push_back({std::move(finding), isAstray});
        m_isAstray = isAstray;
    }

    /// A fault in the last section of a level.
    static Finding inSection(What what, std::int64_t at, Level const &level, std::vector<Fact> more = {})
    {
        more.insert(more.begin(), {{"class", level.name}, {"section", std::int64_t{level.section}}});
        return makeFinding(what, at, std::move(more));
    }

    void take(RecordPlace const &record)
    {
        switch (record.type)
        {
        case RecordType::FrameBegin: return beginFrame(record);
        case RecordType::SectionBegin: return beginSection(record);
        case RecordType::SectionEnd: return endSection(record);
        case RecordType::FrameEnd: return endFrame();
        case RecordType::Bool: return member('b', record);
        case RecordType::Short: return member('s', record);
        case RecordType::Long: return member('l', record);
        case RecordType::Double: return member('d', record);
        case RecordType::Text16: return member('t', record);
        case RecordType::Text8: return member('8', record);
        case RecordType::Bytes: return member('B', record);
        }
    }

    void beginFrame(RecordPlace const &record)
    {
        std::string const name(m_source.look(record.payload, static_cast<std::size_t>(record.payloadSize)));
        bool const isTakenFor = m_levels.empty() && m_outer != KnownClass::Other;
        KnownClass const known = isTakenFor ? m_outer : knownClass(name);
        if (!m_levels.empty() && m_levels.back().isInSection)
            member(known == KnownClass::Id        ? 'i'
                   : known == KnownClass::Variant ? 'v'
                   : known == KnownClass::Point   ? 'p'
                                                  : 'F',
                   record);
        else if (!m_levels.empty())
            base(known, name, record);
        if (!isTakenFor)
            checkName(known, name, record);
        Level level;
        level.form = &formOf(known);
        level.name = name;
        level.begin = record.begin;
        level.version = record.number;
        m_levels.push_back(std::move(level));
    }

    /// The outermost name is checked elsewhere, against all classes.
    void checkName(KnownClass known, std::string const &name, RecordPlace const &record)
    {
        if (known == KnownClass::Other && m_levels.empty())
            return;
        for (Form const &form : forms())
            if (name != form.name && isNearlyName(name, form.name))
                return fault(
                    makeFinding(What::FrameNameNearly, record.begin, {{"class", name}, {"known", std::string(form.name)}}));
        if (!isClassName(name))
            fault(makeFinding(What::FrameNameNone, record.begin, {{"class", name}}));
    }

    void base(KnownClass known, std::string const &name, RecordPlace const &record)
    {
        Level &level = m_levels.back();
        if (level.form->known == KnownClass::Other)
            return;
        if (level.hasBase || known == KnownClass::Other || known != level.form->base)
            fault(makeFinding(What::FrameNotDue, record.begin, {{"class", name}, {"outer", level.name}}), true);
        level.hasBase = true;
    }

    void beginSection(RecordPlace const &record)
    {
        if (m_levels.empty() || m_levels.back().isInSection)
            return;
        Level &level = m_levels.back();
        level.isInSection = true;
        level.isKnownSection = false;
        if (level.form->known == KnownClass::Other)
        {
            if (record.number <= level.section || record.number > kMostVersions)
                fault(makeFinding(
                    level.section == 0 ? What::SectionFirst : What::SectionBehind, record.begin,
                    {{"class", level.name}, {"section", std::int64_t{record.number}}, {"last", std::int64_t{level.section}}}));
            level.section = std::max(level.section, record.number);
            return;
        }
        if (level.form->base != KnownClass::Other && !level.hasBase)
            return fault(makeFinding(What::BaseMissing, record.begin, {{"class", level.name}}), true);
        auto const known = static_cast<std::int32_t>(level.form->sections.size());
        bool const isDue = record.number == level.section + 1 || (level.section >= known && record.number > level.section);
        if (!isDue)
            fault(makeFinding(
                What::SectionNotDue, record.begin,
                {{"class", level.name}, {"section", std::int64_t{record.number}}, {"due", std::int64_t{level.section} + 1}}));
        level.section = isDue ? record.number : level.section + 1;
        level.isKnownSection = isDue && record.number <= known;
        if (!level.isKnownSection)
            return;
        level.members = level.form->sections[static_cast<std::size_t>(record.number - 1)];
        level.next = 0;
        level.listAt = -1;
        level.left = 0;
        level.more = 0;
    }

    void endSection(RecordPlace const &record)
    {
        if (m_levels.empty() || !m_levels.back().isInSection)
            return;
        Level &level = m_levels.back();
        level.isInSection = false;
        if (!level.isKnownSection)
            return;
        endList(level);
        if (level.next < level.members.size())
            fault(inSection(What::SectionEnds, record.begin, level, {{"due", nameOf(level.members[level.next])}}));
    }

    void endFrame()
    {
        if (m_levels.empty())
            return;
        Level const &level = m_levels.back();
        auto const known = static_cast<std::int32_t>(level.form->sections.size());
        if (level.form->known == KnownClass::Other)
        {
            if (level.version < 1 || level.version > kMostVersions)
                fault(makeFinding(What::VersionNone, level.begin,
                                  {{"class", level.name}, {"version", std::int64_t{level.version}}}));
        }
        else
        {
            bool const isLater = level.version > known && level.version <= kMostVersions && level.section > known &&
                                 level.section <= level.version;
            m_check.isLater = m_check.isLater || isLater;
            if (!isLater && level.version != level.section)
                fault(makeFinding(
                    What::VersionDiffers, level.begin,
                    {{"class", level.name}, {"version", std::int64_t{level.version}}, {"last", std::int64_t{level.section}}}));
        }
        m_levels.pop_back();
    }

    /// Ends a counted list: at a member of another kind, or at the end of the section.
    void endList(Level &level)
    {
        if (level.listAt < 0)
            return;
        std::int64_t const difference = level.left > 0 ? level.left : level.more;
        bool const isText = level.members[level.groupBegin] == '8';
        if (difference > 0)
            fault(inSection(level.left > 0 ? What::ListIsShort : What::ListIsLong, level.listAt, level,
                            {{"count", difference}, {"of", isText ? "text" : "id"}}));
        if (level.left > 0)
            level.next = level.groupEnd + 1;
        level.left = 0;
        level.listAt = -1;
    }

    void member(char kind, RecordPlace const &record)
    {
        if (m_levels.empty() || !m_levels.back().isInSection || !m_levels.back().isKnownSection)
            return;
        Level &level = m_levels.back();
        auto const isDue = [&] {
            char const due = level.next < level.members.size() ? level.members[level.next] : '\0';
            return kind == due || (due == '#' && kind == 'l') || (due == 't' && kind == '8' && isVariant(level));
        };
        bool const isAtGroup = level.listAt >= 0 && level.left > 0 && level.next == level.groupBegin;
        if (level.listAt >= 0 && (isAtGroup ? kind != level.members[level.groupBegin] : level.left == 0))
        {
            // Further elements beyond the count may come before the next member.
            if (level.left == 0 && kind == level.members[level.groupBegin] && !isDue())
            {
                level.more += 1;
                return;
            }
            // Position and size after the id of a picture, in a list that is longer than its count.
            if (level.more > 0 && level.groupEnd - level.groupBegin > 1 && kind == 'l' && !isDue())
                return;
            endList(level);
        }
        if (level.next >= level.members.size())
        {
            Finding more = inSection(What::MemberBehindLast, record.begin, level, {{"member", nameOf(kind)}});
            if (isVariant(level))
                more.severity = Finding::Severity::Error;
            return fault(std::move(more));
        }
        if (!isDue())
            return fault(inSection(What::MemberNotDue, record.begin, level,
                                   {{"member", nameOf(kind)}, {"due", nameOf(level.members[level.next])}}),
                         true);
        advance(level, record);
    }

    static bool isVariant(Level const &level) { return level.form->known == KnownClass::Variant; }

    void advance(Level &level, RecordPlace const &record)
    {
        if (level.members[level.next] == '#')
            return beginList(level, record);
        if (isVariant(level) && level.next == 0)
            level.members = "l" + valueOfKind(record.number);
        ++level.next;
        if (level.listAt < 0 || level.left == 0 || level.next < level.groupEnd)
            return;
        --level.left;
        level.next = level.left > 0 ? level.groupBegin : level.groupEnd + 1;
    }

    void beginList(Level &level, RecordPlace const &record)
    {
        level.groupBegin = level.next + 1;
        level.groupEnd = level.members.find(';', level.next);
        level.listAt = record.begin;
        level.more = 0;
        level.left = record.number > 0 ? record.number : 0;
        level.next = level.left > 0 ? level.groupBegin : level.groupEnd + 1;
        // An empty picture has a count of -1.
        if (record.number < (level.form->known == KnownClass::Picture ? -1 : 0))
            fault(inSection(What::ListCountNegative, record.begin, level, {{"count", std::int64_t{record.number}}}));
    }

    ByteSource &m_source;
    std::int64_t m_begin;
    RecordWalk m_walk;
    KnownClass m_outer;
    RecordCheck m_check;
    std::vector<Level> m_levels;
    bool m_isAstray = false;
};

} // namespace

RecordCheck checkRecords(ByteSource &source, std::int64_t begin) { return Check(source, begin).run(); }

std::string_view classByRecords(ByteSource &source, std::int64_t begin)
{
    for (KnownClass const known : {KnownClass::Parameter, KnownClass::Picture})
        if (Check(source, begin, known).run().faults.empty())
            return formOf(known).name;
    return {};
}

} // namespace okt
