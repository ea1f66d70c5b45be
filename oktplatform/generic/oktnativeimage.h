// SPDX-License-Identifier: MIT
#pragma once

/// True for the address of a constant that lives as long as the image it is compiled into. The language does not tell, so no
/// address is taken for one, and literals are copied.
inline constexpr bool OktIsImageConstant(void const *) { return false; }
