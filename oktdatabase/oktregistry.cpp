// SPDX-License-Identifier: MIT
// The static objects of the module. One source holds them, because their order counts: the application object, the registry, then
// the descriptors in the order of their class numbers, with the null id among them, and at last what starts and ends the module.
// A further stored class adds its header and its line.

#include <oktdatabase/oktdatabaseapp.h>
#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbgroupcategory.h>
#include <oktdatabase/oktdbgroupparameter.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbparamrelation.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbrelation.h>
#include <oktdatabase/oktownclasses.h>

namespace
{
COKTDatabaseApp g_app;
} // namespace

OKTMap<CString, OKTRuntimeClass *, CString const &, OKTRuntimeClass *const &> g_RuntimeClass;

OKT_STORED_CLASS_REGISTRATION(OKTDbCategory, OKTDbObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbGroupCategory, OKTDbObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbGroupParameter, OKTDbParameter)
OKTRuntimeClass const OKTDbObject::classOKTDbObject(u"OKTDbObject", CString(), new OKTDbObject, nullptr);
OKTDbObjectId const OKTDbObjectId::kNull;
OKT_STORED_CLASS_REGISTRATION(OKTDbParameter, OKTDbObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbParamRelation, OKTDbRelation)
OKT_STORED_CLASS_REGISTRATION(OKTDbPicture, OKTDbObject)
OKT_STORED_CLASS_REGISTRATION(OKTDbRelation, OKTDbObject)

namespace
{
[[maybe_unused]] bool const g_ownClassesEnd = (OktEndOwnClasses(), true);
OktModuleEntry const g_entry;
} // namespace
