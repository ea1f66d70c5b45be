// SPDX-License-Identifier: MIT
#pragma once

/// The whole library.
#include <oktdatabase/oktbytefiler.h>
#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktdatabaseutil.h>
#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbgroupcategory.h>
#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbobjectid.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbparamrelation.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktdurablesave.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktfilerstatus.h>
#include <oktdatabase/oktgexyz.h>
#include <oktdatabase/okthelperec.h>
#include <oktdatabase/oktmemoryfiler.h>
#include <oktdatabase/oktmodule.h>
#include <oktdatabase/oktruntimeclass.h>
#include <oktdatabase/oktsmartansistring.h>
#include <oktdatabase/okttemplatesutil.h>
#include <oktdatabase/okttools.h>
#include <oktdatabase/oktversion.h>
#include <oktdatabase/oktxmlfiler.h>
#include <oktplatform/oktplatform.h>
