// SPDX-License-Identifier: MIT
#pragma once

// The names of the parser stay in their namespace: a program may include the system's own declarations of them.
