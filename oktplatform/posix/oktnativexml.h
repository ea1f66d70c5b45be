// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/generic/oktnativexml.h>
