// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/generic/oktnativecodepage.h>
