// SPDX-License-Identifier: MIT
#include <oktreport/page.h>

#include <string>
#include <string_view>

int main()
{
    std::string page;
    okt::writePage({}, {"Nothing", 0}, [&page](std::string_view piece) { page += piece; });
    return page.ends_with("</html>\n") ? 0 : 1;
}
