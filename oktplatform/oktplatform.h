// SPDX-License-Identifier: MIT
#pragma once

/// Everything that the library asks of the platform, under the platform's own names.
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktclientmodule.h>
#include <oktplatform/oktcodepage.h>
#include <oktplatform/oktexport.h>
#include <oktplatform/oktfile.h>
#include <oktplatform/oktguid.h>
#include <oktplatform/oktnumber.h>
#include <oktplatform/oktstring.h>
#include <oktplatform/okttypes.h>
#include <oktplatform/oktvariant.h>
#include <oktplatform/oktwarning.h>
#include <oktplatform/oktxmldom.h>
