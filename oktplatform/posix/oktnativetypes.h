#pragma once

#include <oktplatform/generic/oktnativetypes.h>
