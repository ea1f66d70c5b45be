#pragma once

#include <oktplatform/generic/oktnativexml.h>
