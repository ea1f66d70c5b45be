#pragma once

#include <oktplatform/generic/oktnativevariant.h>
