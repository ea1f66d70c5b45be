// SPDX-License-Identifier: MIT
#include <oktformat/poolheader.h>

int main() { return okt::roleName(okt::HeaderRole::Sketch) == "sketch" ? 0 : 1; }
