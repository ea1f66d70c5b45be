// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/plansource.h>
#include <oktrebar/poolbuilder.h>
#include <oktrebar/storedtemplate.h>

#include <oktdatabase/oktdatabase.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

/// The plan of one of the example templates, "link-d12.okt".
inline okt::TemplatePlan examplePlan(std::string const &fileName)
{
    static okt::SourcePlans const plans = okt::plansFrom(OKT_EXAMPLES_DIR "/data");
    for (okt::TemplatePlan const &plan : plans.templates)
        if (plan.fileName == fileName)
            return plan;
    throw std::runtime_error("no template " + fileName);
}

inline std::string imageOf(OKTDbPool &pool)
{
    CByteArray bytes;
    IdMap translated;
    if (!pool.saveFiler(bytes, translated))
        throw std::runtime_error("the pool makes no image");
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

/// The bytes of a file with an example template, whose plan may be changed first.
inline std::string exampleBytes(std::string const &fileName, std::function<void(okt::TemplatePlan &)> const &change = {})
{
    okt::TemplatePlan plan = examplePlan(fileName);
    if (change)
        change(plan);
    return imageOf(*okt::buildPool(plan));
}

inline okt::StoredTemplate readBytes(std::string const &bytes)
{
    okt::ByteSource source{std::string_view(bytes)};
    return okt::readTemplate(source);
}

inline std::size_t indexOf(okt::StoredTemplate const &pool, std::string const &name)
{
    std::vector<std::size_t> const found = okt::ParameterSelector(name).in(pool);
    if (found.empty())
        throw std::runtime_error("no parameter " + name);
    return found.front();
}

/// The parameter of a plan, to be changed.
inline okt::ParameterPlan &planned(okt::TemplatePlan &plan, okt::ParameterKey key)
{
    for (okt::CategoryPlan &category : plan.categories)
        for (okt::ParameterPlan &parameter : category.parameters)
            if (parameter.key == key)
                return parameter;
    throw std::runtime_error("no such parameter");
}
