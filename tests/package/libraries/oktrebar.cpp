// SPDX-License-Identifier: MIT
#include <oktrebar/plansource.h>

#include <exception>

int main()
try
{
    return okt::plansFrom("no such folder").templates.empty() ? 1 : 2;
}
catch (std::exception const &)
{
    return 0;
}
