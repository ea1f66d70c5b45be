#pragma once

#include <oktplatform/generic/oktnativeguid.h>
