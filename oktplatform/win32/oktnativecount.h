#pragma once

#include <oktplatform/generic/oktnativecount.h>
