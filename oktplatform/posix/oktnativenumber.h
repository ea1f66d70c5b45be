#pragma once

#include <oktplatform/generic/oktnativenumber.h>
