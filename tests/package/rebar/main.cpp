// SPDX-License-Identifier: MIT
// rebar DATA: makes a template of the tables in DATA and its page, with the installed libraries alone.

#include <oktrebar/clientobjects.h>
#include <oktrebar/plansource.h>
#include <oktrebar/poolbuilder.h>
#include <oktreport/page.h>

#include <oktdatabase/oktdbpool.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

int main(int, char **argv)
{
    okt::SourcePlans const plans = okt::plansFrom(argv[1]);
    okt::TemplatePlan const &plan = plans.templates.front();
    auto const pool = okt::buildPool(plan);
    okt::addClientObjects(*pool, plan);
    if (!pool->writeFile(CString::FromUtf8(plan.fileName)))
        return 1;
    std::string fault;
    int calls = 0;
    std::vector<okt::TemplateFacts> facts = {
        okt::factsOf(plan.fileName, plan.fileName, fault, [&](okt::Progress const &) { return ++calls > 0; })};
    okt::arrange(facts);
    std::string page;
    okt::writePage(facts, {"<Bars>", 0}, [&page](std::string_view piece) { page += piece; });
    bool const told =
        page.find("<title>&lt;Bars&gt;</title>") != std::string::npos && page.find(plan.poolName) != std::string::npos;
    std::printf("%s: %zu bytes, %d calls, %s\n", plan.fileName.c_str(), page.size(), calls, fault.c_str());
    return told && fault.empty() && calls > 0 && page.ends_with("</html>\n") ? 0 : 1;
}
