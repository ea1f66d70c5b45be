// SPDX-License-Identifier: MIT
#include <oktinspect/standin.h>

#include "support/hexbytes.h"
#include "support/printers.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace okt;

namespace
{

// The frame of OKTDbObject with the id {00112233-4455-6677-8899-AABBCCDDEEFF}.
std::string const kBase = "06 05 0B 00 'OKTDbObject' 02 01 00 00 00 08 02 01 00 00 00 "
                          "06 05 0B 00 'OKTObjectId' 02 01 00 00 00 08 02 01 00 00 00 "
                          "02 33 22 11 00 02 55 44 77 66 02 88 99 AA BB 02 CC DD EE FF 09 07 09 07 ";

std::unique_ptr<OKTDbObject> made(CString const &className)
{
    OKTDbObject *object = nullptr;
    EXPECT_TRUE(OKTTools::getObjectFromClassName(className, object));
    return std::unique_ptr<OKTDbObject>(object);
}

TEST(OktStandIn, RegisterClass_NoFrameOfObjectInside_Refused)
{
    EXPECT_FALSE(StandIn::registerClass(u"StandInA", {}));
    EXPECT_FALSE(StandIn::registerClass(u"StandInA", {u"OKTDbObject", u"StandInB"}));
    EXPECT_FALSE(StandIn::registerClass(u"", {u"OKTDbObject"}));
    EXPECT_FALSE(g_RuntimeClass.contains(u"StandInA"));
    EXPECT_FALSE(StandIn::isRegistered(u"StandInA"));
}

TEST(OktStandIn, RegisterClass_TakenName_ClassStays)
{
    EXPECT_TRUE(StandIn::registerClass(u"OKTDbParameter", {u"OKTDbObject"}));
    EXPECT_FALSE(StandIn::isRegistered(u"OKTDbParameter"));
    EXPECT_NE(OKTDbParameter::cast(made(u"OKTDbParameter").get()), nullptr);
}

TEST(OktStandIn, XmlIn_ObjectOfUnknownClass_IdReadMembersPassedOver)
{
    ASSERT_TRUE(StandIn::registerClass(u"StandInC", {u"StandInMiddle", u"OKTDbObject"}));
    EXPECT_TRUE(StandIn::isRegistered(u"StandInC"));
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 08 00 'StandInC' 02 01 00 00 00 06 05 0D 00 'StandInMiddle' 02 01 00 00 00 " + kBase +
                        "08 02 01 00 00 00 02 07 06 05 00 09 07 "
                        "08 02 01 00 00 00 04 01 00 41 00 09 08 02 02 00 00 00 00 01 09 07"));
    std::unique_ptr<OKTDbObject> const object = made(u"StandInC");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->xmlIn(&filer), eFilerOk);
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength());
    EXPECT_EQ(object->objectId().getGuidAsString(false), CString(u"{00112233-4455-6677-8899-AABBCCDDEEFF}"));
    EXPECT_TRUE(object->isA(u"StandInC"));
    EXPECT_FALSE(object->isA(u"OKTDbObject"));
    EXPECT_TRUE(object->isKindOf(OKTDbObject::desc()));
    EXPECT_EQ(object->isA()->ClassName(), CString(u"StandInC"));
    EXPECT_TRUE(object->isA(object->isA()));
}

TEST(OktStandIn, XmlIn_OtherFrameOrNoFiler_ItsStatus)
{
    ASSERT_TRUE(StandIn::registerClass(u"StandInD", {u"OKTDbObject"}));
    std::unique_ptr<OKTDbObject> const object = made(u"StandInD");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->xmlIn(nullptr), eFilerNoFiler);
    OKTMemoryFiler filer;
    filer.loadFiler(hex("06 05 01 00 'X' 02 01 00 00 00 " + kBase + "07"));
    EXPECT_EQ(object->xmlIn(&filer), eFilerClassFailed);
}

TEST(OktStandIn, XmlOut_Always_Refused)
{
    ASSERT_TRUE(StandIn::registerClass(u"StandInE", {u"OKTDbObject"}));
    OKTDbPool pool;
    ASSERT_TRUE(pool.appendObject(made(u"StandInE").release()));
    CByteArray image;
    IdMap translated;
    EXPECT_FALSE(pool.saveFiler(image, translated));
}

// A module that reads other members than a file has gives its place to stand-ins, for this file.
TEST(OktStandIn, ReplaceClass_ClassThatIsThere_UntilItStepsAside)
{
    ASSERT_TRUE(StandIn::replaceClass(u"OKTDbPicture", {u"OKTDbObject"}));
    EXPECT_TRUE(StandIn::isRegistered(u"OKTDbPicture"));
    EXPECT_EQ(OKTDbPicture::cast(made(u"OKTDbPicture").get()), nullptr);
    ASSERT_TRUE(StandIn::replaceClass(u"OKTDbPicture", {u"OKTDbObject"}));
    ASSERT_TRUE(StandIn::replaceClass(u"OKTDbPicture", {u"StandInBetween", u"OKTDbObject"}));
    EXPECT_TRUE(StandIn::isRegistered(u"OKTDbPicture"));
    StandIn::stepAside();
    EXPECT_FALSE(StandIn::isRegistered(u"OKTDbPicture"));
    EXPECT_NE(OKTDbPicture::cast(made(u"OKTDbPicture").get()), nullptr);
    EXPECT_FALSE(StandIn::replaceClass(u"OKTDbPicture", {}));
    EXPECT_NE(OKTDbPicture::cast(made(u"OKTDbPicture").get()), nullptr);
}

} // namespace
