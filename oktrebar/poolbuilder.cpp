// SPDX-License-Identifier: MIT
#include <oktrebar/poolbuilder.h>

#include <oktformat/failure.h>
#include <oktrebar/preview.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <vector>

namespace okt
{

namespace
{

CString text(std::string const &utf8) { return CString::FromUtf8(utf8); }

/// Adds a new object to the pool, which takes ownership.
template <typename T, typename... A> T &added(OKTDbPool &pool, A const &...arguments)
{
    auto object = std::make_unique<T>(arguments...);
    if (!pool.appendObject(object.get()))
        throw Failure(pool.poolName().ToUtf8(), "", "an object of the template cannot be made");
    return *object.release();
}

struct MadeParameter
{
    ParameterPlan const *plan;
    OKTDbParameter *parameter;
};

void setValue(OKTDbParameter &parameter, ParameterPlan const &plan)
{
    int const listIndex = plan.key.listIndex;
    if (auto const *const real = std::get_if<double>(&plan.value))
        parameter.setValue(*real, listIndex);
    else if (auto const *const whole = std::get_if<int>(&plan.value))
        parameter.setValue(*whole, listIndex);
    else if (auto const *const flag = std::get_if<bool>(&plan.value))
        parameter.setValue(*flag, listIndex);
    else
        parameter.setValue(text(std::get<std::string>(plan.value)), listIndex);
}

OKTDbParameter &addParameter(OKTDbPool &pool, ParameterPlan const &plan, OKTDbObjectId const &owner, OKTDbCategory &category)
{
    OKTDbParameter &parameter = added<OKTDbParameter>(pool, plan.key.type, owner);
    setValue(parameter, plan);
    // After the value: it sets the list index, with which the name may end.
    parameter.setUserName(plan.name.empty() ? parameter.getTypeName() : text(plan.name), !plan.isNameWhole);
    parameter.setExpression(text(plan.expression));
    parameter.setDescription(text(plan.description));
    parameter.setCategory(category.objectId());
    category.appendParameter(parameter.objectId());
    return parameter;
}

/// The picture of the template, seen from above its middle, with y upwards. Places are in drawing units, as the pool keeps them.
void addPicture(OKTDbPool &pool, Preview const &preview)
{
    auto &picture = added<OKTDbPicture>(pool);
    picture.setPictureData(preview.png);
    Point const middle = preview.shape.centre();
    double const distance = std::max(preview.shape.width(), preview.shape.height());
    picture.setCameraData(OKTGeXYZ(middle.x, middle.y, distance), OKTGeXYZ(middle.x, middle.y, 0), OKTGeXYZ(0, 1, 0));
}

OKTDbObjectId idOf(std::vector<MadeParameter> const &made, ParameterKey const &key)
{
    for (MadeParameter const &entry : made)
        if (entry.plan->key == key)
            return entry.parameter->objectId();
    return {};
}

} // namespace

std::unique_ptr<OKTDbPool> buildPool(TemplatePlan const &plan)
{
    auto pool = std::make_unique<OKTDbPool>();
    pool->setPoolName(text(plan.poolName));
    pool->setMetricsFactor(metricsFactor(plan.units));

    auto &relation = added<OKTDbParamRelation>(*pool);
    auto &group = added<OKTDbGroupCategory>(*pool);
    std::vector<MadeParameter> made;
    for (CategoryPlan const &categoryPlan : plan.categories)
    {
        auto &category = added<OKTDbCategory>(*pool);
        category.setCategoryName(text(categoryPlan.name));
        category.setGroupCategory(group.objectId());
        group.appendCategory(category.objectId());
        for (ParameterPlan const &parameterPlan : categoryPlan.parameters)
        {
            OKTDbParameter &parameter = addParameter(*pool, parameterPlan, relation.objectId(), category);
            if (parameterPlan.inBend)
                relation.appendParameter(parameter.objectId());
            made.push_back({&parameterPlan, &parameter});
        }
    }
    for (MadeParameter const &entry : made)
    {
        IdArray used;
        for (ParameterKey const &key : entry.plan->uses)
            used.append(idOf(made, key));
        entry.parameter->setTabParams(used);
    }
    if (std::optional<Preview> const preview = drawPreview(plan))
        addPicture(*pool, *preview);
    return pool;
}

} // namespace okt
