// SPDX-License-Identifier: MIT
#include <oktinspect/poollabels.h>

#include <oktinspect/matching.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <okttext/oktnotation.h>

#include <algorithm>
#include <vector>

namespace okt
{

namespace
{

constexpr std::int32_t kPicturesSection = 5; // of the header

std::vector<std::string> picturesOf(DiffPool const &pool)
{
    std::vector<std::string> ids;
    okttext::Record const *const section = sectionOf(pool.hasHeader() ? &pool.parts().header : nullptr, kPicturesSection);
    if (section != nullptr)
        for (okttext::Record const &child : section->children) // positions and sizes are between them
            if (std::string id = okttext::idOf(child); !id.empty())
                ids.push_back(std::move(id));
    return ids;
}

KnownClass counted(KnownClass kind) { return kind == KnownClass::ParamRelation ? KnownClass::Relation : kind; }

std::string quotedUtf8(std::string const &utf8) { return quoted(CString::FromUtf8(utf8)); }

} // namespace

PoolLabels::PoolLabels(PoolOutline const &outline) : m_pool(outline.pool()), m_outline(outline)
{
    for (DiffObject const &object : m_pool.objects())
    {
        ++m_kinds[counted(object.kind)];
        if (object.isNamed)
            ++m_names[object.kind][object.name];
    }
    std::size_t number = 0;
    for (std::string const &id : picturesOf(m_pool))
        m_pictures.emplace(id, number++);
}

std::string PoolLabels::idText(std::size_t object) const
{
    std::string const &id = m_pool.objects()[object].stretch.id;
    return id.empty() ? "" : " " + okttext::guidText(id);
}

/// The label of an object of a class with names.
std::string PoolLabels::named(std::size_t object, std::string const &what) const
{
    DiffObject const &self = m_pool.objects()[object];
    if (!self.isNamed)
        return what + idText(object);
    bool const isParameter = self.kind == KnownClass::Parameter;
    std::string const title =
        isParameter ? printable(std::string_view(self.name)) : sentence("{} {}", what, quotedUtf8(self.name));
    if (m_names.at(self.kind).at(self.name) == 1)
        return title;
    if (isParameter && isAloneInCategory(object))
        return sentence("{} in {}", title, quotedUtf8(m_pool.objects()[m_outline.above(object)].name));
    return title + idText(object);
}

bool PoolLabels::isAloneInCategory(std::size_t parameter) const
{
    std::size_t const category = m_outline.above(parameter);
    if (category == kUnmatched || !m_pool.objects()[category].isNamed ||
        m_names.at(KnownClass::Category).at(m_pool.objects()[category].name) > 1)
        return false;
    std::vector<std::size_t> const listed = m_outline.listOf(category);
    return std::all_of(listed.begin(), listed.end(), [&](std::size_t other) {
        return other == parameter || m_pool.objects()[other].name != m_pool.objects()[parameter].name;
    });
}

/// The label of an object that is often the only one of its class.
std::string PoolLabels::alone(std::size_t object, std::string const &what) const
{
    return m_kinds.at(counted(m_pool.objects()[object].kind)) == 1 ? what : what + idText(object);
}

std::string PoolLabels::of(std::size_t object) const
{
    DiffObject const &self = m_pool.objects()[object];
    switch (self.kind)
    {
    case KnownClass::Parameter: return named(object, "Parameter");
    case KnownClass::Category: return named(object, "Category");
    case KnownClass::GroupCategory: return alone(object, "Group category");
    case KnownClass::Relation:
    case KnownClass::ParamRelation: return alone(object, "Relation");
    case KnownClass::Picture:
    {
        auto const listed = m_pictures.find(self.stretch.id);
        bool const isNumbered = m_kinds.at(KnownClass::Picture) > 1 && listed != m_pictures.end();
        return isNumbered ? sentence("Picture {}", listed->second) : alone(object, "Picture");
    }
    default: return m_pool.titleOf(self);
    }
}

std::string PoolLabels::ofId(std::string const &id) const
{
    if (id.find_first_not_of('\0') == std::string::npos)
        return "none";
    std::size_t const found = m_outline.find(id);
    return found == kUnmatched ? okttext::guidText(id) + " (not in this file)" : of(found);
}

} // namespace okt
