// SPDX-License-Identifier: MIT
#include <tools/okt/printing/parameterjson.h>

#include <oktrebar/expressions.h>

#include <oktformat/guids.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace okt
{

namespace
{

// What uses itself, or a long chain, ends here.
constexpr int kDeepest = 20;

PlainJson idsJson(std::vector<_GUID> const &ids)
{
    PlainJson list = PlainJson::array();
    for (_GUID const &id : ids)
        list.push_back(idText(id));
    return list;
}

PlainJson poolJson(StoredTemplate const &pool, LengthUnit const &shown, LengthUnit const &drawn)
{
    PlainJson json;
    json["pool"] = {{"id", nullptr}, {"name", pool.poolName}};
    if (pool.poolId)
        json["pool"]["id"] = idText(*pool.poolId);
    json["size"] = pool.size;
    json["unit"] = shown.name;
    json["drawnIn"] = drawn.name;
    return json;
}

PlainJson objectJson(std::string const &className, _GUID const &id) { return {{"class", className}, {"id", idText(id)}}; }

void addRest(PlainJson &json, StoredTemplate const &pool)
{
    json["relations"] = PlainJson::array();
    for (StoredRelation const &relation : pool.relations)
    {
        PlainJson one = objectJson(relation.className, relation.id);
        one["parameters"] = idsJson(relation.parameters);
        json["relations"].push_back(std::move(one));
    }
    json["pictures"] = PlainJson::array();
    for (StoredPicture const &picture : pool.pictures)
        json["pictures"].push_back(objectJson(picture.className, picture.id));
    json["others"] = PlainJson::array();
    for (StoredObject const &object : pool.others)
        json["others"].push_back(objectJson(object.className, object.id));
}

class Tree
{
public:
    Tree(StoredTemplate const &pool, LengthUnit const &shown, LengthUnit const &drawn)
        : m_pool(pool), m_shown(shown), m_drawn(drawn)
    {
    }

    PlainJson groups()
    {
        PlainJson list = PlainJson::array();
        for (StoredGroup const &group : m_pool.groups)
        {
            PlainJson one = {{"id", idText(group.id)}, {"categories", PlainJson::array()}};
            for (_GUID const &id : group.categories)
            {
                auto const found = std::find_if(m_pool.categories.begin(), m_pool.categories.end(),
                                                [&id](StoredCategory const &category) { return isSame(category.id, id); });
                one["categories"].push_back(found == m_pool.categories.end() ? missing(id) : category(*found));
            }
            list.push_back(std::move(one));
        }
        return list;
    }

    PlainJson categoriesWithoutGroup()
    {
        PlainJson list = PlainJson::array();
        for (StoredCategory const &one : m_pool.categories)
            if (!m_categories.contains(&one))
                list.push_back(category(one));
        return list;
    }

    PlainJson parametersWithoutCategory()
    {
        PlainJson list = PlainJson::array();
        for (std::size_t i = 0; i < m_pool.parameters.size(); ++i)
            if (!m_parameters.contains(i))
                list.push_back(parameter(i, 0));
        return list;
    }

private:
    static PlainJson missing(_GUID const &id) { return {{"id", idText(id)}, {"missing", true}}; }

    PlainJson category(StoredCategory const &self)
    {
        PlainJson json = {{"id", idText(self.id)}, {"name", self.name}, {"parameters", PlainJson::array()}};
        if (!m_categories.insert(&self).second)
            return json; // its parameters stand where it was met first
        for (_GUID const &id : self.parameters)
        {
            std::optional<std::size_t> const index = m_pool.indexOf(id);
            json["parameters"].push_back(index ? parameter(*index, 0) : missing(id));
        }
        return json;
    }

    PlainJson parameter(std::size_t index, int depth)
    {
        StoredParameter const &self = m_pool.parameters[index];
        PlainJson json = parameterJson(self, m_shown, m_drawn);
        bool const isFirst = m_parameters.insert(index).second;
        if (self.uses.empty() || depth >= kDeepest || (!isFirst && depth > 0))
            return json;
        json["uses"] = PlainJson::array();
        for (_GUID const &id : self.uses)
        {
            std::optional<std::size_t> const used = m_pool.indexOf(id);
            json["uses"].push_back(used ? parameterJson(m_pool.parameters[*used], m_shown, m_drawn) : missing(id));
        }
        return json;
    }

    StoredTemplate const &m_pool;
    LengthUnit const &m_shown;
    LengthUnit const &m_drawn;
    std::set<StoredCategory const *> m_categories;
    std::set<std::size_t> m_parameters;
};

} // namespace

PlainJson jsonOf(ParameterValue const &value)
{
    if (double const *const real = std::get_if<double>(&value))
        return std::isfinite(*real) ? PlainJson(*real) : PlainJson(nullptr);
    if (std::int32_t const *const whole = std::get_if<std::int32_t>(&value))
        return *whole;
    if (bool const *const flag = std::get_if<bool>(&value))
        return *flag;
    if (std::string const *const text = std::get_if<std::string>(&value))
        return *text;
    return nullptr;
}

std::string lineOf(PlainJson const &json) { return json.dump(-1, ' ', false, PlainJson::error_handler_t::replace) + "\n"; }

PlainJson parameterJson(StoredParameter const &parameter, LengthUnit const &shown, LengthUnit const &drawn)
{
    ShownValue const value = shownValue(parameter, shown, drawn);
    PlainJson json;
    json["name"] = parameter.name;
    json["id"] = idText(parameter.id);
    json["type"] = parameter.type;
    if (parameter.listIndex != 0)
        json["listIndex"] = parameter.listIndex;
    json["value"] = jsonOf(value.value);
    json["unit"] = value.unit == nullptr ? PlainJson(nullptr) : PlainJson(value.unit->name);
    if (!parameter.expression.empty())
        json["expression"] = parameter.expression;
    if (!parameter.description.empty())
        json["description"] = parameter.description;
    return json;
}

PlainJson templateJson(StoredTemplate const &pool, LengthUnit const &shown)
{
    LengthUnit const &drawn = TemplateExpressions(pool).unit();
    PlainJson json = poolJson(pool, shown, drawn);
    json["groups"] = PlainJson::array();
    for (StoredGroup const &group : pool.groups)
        json["groups"].push_back({{"id", idText(group.id)}, {"categories", idsJson(group.categories)}});
    json["categories"] = PlainJson::array();
    for (StoredCategory const &category : pool.categories)
        json["categories"].push_back(
            {{"id", idText(category.id)}, {"name", category.name}, {"parameters", idsJson(category.parameters)}});
    json["parameters"] = PlainJson::array();
    for (std::size_t const index : pool.inOrder())
    {
        PlainJson one = parameterJson(pool.parameters[index], shown, drawn);
        if (!pool.parameters[index].uses.empty())
            one["uses"] = idsJson(pool.parameters[index].uses);
        json["parameters"].push_back(std::move(one));
    }
    addRest(json, pool);
    return json;
}

PlainJson treeJson(StoredTemplate const &pool, LengthUnit const &shown)
{
    LengthUnit const &drawn = TemplateExpressions(pool).unit();
    PlainJson json = poolJson(pool, shown, drawn);
    Tree tree(pool, shown, drawn);
    json["groups"] = tree.groups();
    json["categories"] = tree.categoriesWithoutGroup();
    json["parameters"] = tree.parametersWithoutCategory();
    addRest(json, pool);
    return json;
}

} // namespace okt
