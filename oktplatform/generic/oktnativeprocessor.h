// SPDX-License-Identifier: MIT
#pragma once

// The language knows no instructions of a processor. Not installed.
