// SPDX-License-Identifier: MIT
#include <oktcatalog/catalog.h>
#include <oktcatalog/rows.h>

#include <string>

int main() { return okt::hasCatalogStore() && std::string(okt::stateName(okt::FileState{})).size() > 1 ? 0 : 1; }
