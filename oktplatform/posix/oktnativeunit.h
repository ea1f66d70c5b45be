#pragma once

// Not installed.

#include <oktplatform/generic/oktnativeunit.h>
