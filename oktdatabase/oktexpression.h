// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

/// OKTDatabaseUtil::convertExpresion without its catch-all, for callers to whom an empty text in place of an expression would be a
/// loss. Throws std::bad_alloc. Not installed.
CString OktScaledExpression(CString expression, double scale);
