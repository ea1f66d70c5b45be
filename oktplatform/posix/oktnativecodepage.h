#pragma once

#include <oktplatform/generic/oktnativecodepage.h>
