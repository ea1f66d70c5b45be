// SPDX-License-Identifier: MIT
// The places of virtual operations in their tables. Client modules are compiled against them, so none may move. A class of a
// client puts its own behind these. The destructor takes two places.

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

namespace
{
using testing::ElementsAre;

/// The place that a pointer to a virtual operation stands for: one more than its distance in bytes from the table's begin.
template <typename F> int slot(F function)
{
    struct Representation
    {
        std::uintptr_t place;
        std::ptrdiff_t adjustment;
    };
    static_assert(sizeof(F) == sizeof(Representation));
    std::uintptr_t const place = std::bit_cast<Representation>(function).place;
    EXPECT_EQ(place % 2, 1u) << "not virtual";
    return static_cast<int>((place - 1) / sizeof(void *));
}

template <typename V> using Write = bool (OKTFiler::*)(CString const &, V const &);
template <typename V> using Read = bool (OKTFiler::*)(CString const &, V &);
template <typename V> int write(Write<V> function) { return slot(function); }
template <typename V> int read(Read<V> function) { return slot(function); }
template <typename V> using SetValue = void (OKTDbParameter::*)(V, int const &);

std::vector<int> placesFrom(int first, int count)
{
    std::vector<int> places;
    for (int i = 0; i < count; ++i)
        places.push_back(first + i);
    return places;
}

TEST(VirtualTable, OKTDbObject_EightOperations)
{
    using Object = OKTDbObject;
    EXPECT_THAT((std::vector{slot(&Object::createObject), slot(&Object::isKindOf),
                             slot(static_cast<OKTRuntimeClass *(Object::*)() const>(&Object::isA)),
                             slot(static_cast<bool (Object::*)(CString const &) const>(&Object::isA)),
                             slot(static_cast<bool (Object::*)(OKTRuntimeClass const *) const>(&Object::isA))}),
                ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT((std::vector{slot(&Object::xmlIn), slot(&Object::xmlOut)}), ElementsAre(7, 8)); // behind the destructor
}

TEST(VirtualTable, OKTDbParameter_ItsOwnBehindThoseOfTheObject)
{
    using Parameter = OKTDbParameter;
    EXPECT_THAT((std::vector{slot(&Parameter::xmlIn), slot(&Parameter::xmlOut)}), ElementsAre(7, 8));
    std::vector<int> const places = {slot(static_cast<void (Parameter::*)(tagVARIANT const &)>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<double const &>>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<long const &>>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<int const &>>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<bool const &>>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<wchar_t const *>>(&Parameter::setValue)),
                                     slot(static_cast<SetValue<CString const &>>(&Parameter::setValue)),
                                     slot(&Parameter::UserName),
                                     slot(&Parameter::setUserName),
                                     slot(&Parameter::Type),
                                     slot(&Parameter::setType),
                                     slot(&Parameter::Value),
                                     slot(&Parameter::ListIndex),
                                     slot(&Parameter::setListIndex),
                                     slot(&Parameter::Category),
                                     slot(&Parameter::setCategory),
                                     slot(&Parameter::OwnerId),
                                     slot(&Parameter::setOwnerId),
                                     slot(&Parameter::Expression),
                                     slot(&Parameter::setExpression),
                                     slot(&Parameter::isValidExpression),
                                     slot(&Parameter::Description),
                                     slot(&Parameter::setDescription),
                                     slot(&Parameter::TabParams),
                                     slot(&Parameter::setTabParams)};
    EXPECT_EQ(places, placesFrom(9, 25));
}

/// Where a class of a client that derives from this one has its first own operation.
template <typename Class> int placeBehind()
{
    class Client : public Class
    {
    public:
        virtual void own() {}
    };
    return slot(&Client::own);
}

template <typename Class> class VirtualTableOf : public testing::Test
{
};
using ClassesWithoutOwn = testing::Types<OKTDbObject, OKTDbCategory, OKTDbGroupCategory, OKTDbRelation, OKTDbPicture>;
TYPED_TEST_SUITE(VirtualTableOf, ClassesWithoutOwn);

TYPED_TEST(VirtualTableOf, Object_NoneOfItsOwn)
{
    EXPECT_THAT((std::vector{slot(&TypeParam::createObject), slot(&TypeParam::isKindOf),
                             slot(static_cast<OKTRuntimeClass *(TypeParam::*)() const>(&TypeParam::isA)),
                             slot(static_cast<bool (TypeParam::*)(CString const &) const>(&TypeParam::isA)),
                             slot(static_cast<bool (TypeParam::*)(OKTRuntimeClass const *) const>(&TypeParam::isA)),
                             slot(&TypeParam::xmlIn), slot(&TypeParam::xmlOut)}),
                ElementsAre(0, 1, 2, 3, 4, 7, 8));
    EXPECT_EQ(placeBehind<TypeParam>(), 9);
}

TEST(VirtualTable, OKTDbParamRelation_ItsListBehindThoseOfTheObject)
{
    using Relation = OKTDbParamRelation;
    EXPECT_THAT((std::vector{slot(&Relation::xmlIn), slot(&Relation::xmlOut)}), ElementsAre(7, 8));
    std::vector<int> const places = {slot(&Relation::appendParameter),     slot(&Relation::removeParameter),
                                     slot(&Relation::removeAllParameters), slot(&Relation::getAllParameters),
                                     slot(&Relation::parameterCount),      slot(&Relation::parameterAt)};
    EXPECT_EQ(places, placesFrom(9, 6));
}

TEST(VirtualTable, OKTFiler_EighteenWritesThenEighteenReads)
{
    using Filer = OKTFiler;
    std::vector<int> const places = {slot(&Filer::beginWriteClass),
                                     slot(&Filer::endWriteClass),
                                     slot(&Filer::beginWriteMembers),
                                     slot(&Filer::endWriteMembers),
                                     slot(&Filer::writeDouble),
                                     write<unsigned long>(&Filer::writeLong),
                                     write<long>(&Filer::writeLong),
                                     slot(&Filer::writeString),
                                     slot(&Filer::writeObjectId),
                                     slot(&Filer::writePoint3d),
                                     write<bool>(&Filer::writeBool),
                                     write<int>(&Filer::writeBool),
                                     write<unsigned int>(&Filer::writeInt),
                                     write<int>(&Filer::writeInt),
                                     write<unsigned short>(&Filer::writeShort),
                                     write<short>(&Filer::writeShort),
                                     slot(&Filer::writeVariant),
                                     slot(&Filer::writeByteArray),
                                     slot(&Filer::beginReadClass),
                                     slot(&Filer::endReadClass),
                                     slot(&Filer::beginReadMembers),
                                     slot(&Filer::endReadMembers),
                                     slot(&Filer::readString),
                                     read<unsigned long>(&Filer::readLong),
                                     read<long>(&Filer::readLong),
                                     slot(&Filer::readDouble),
                                     slot(&Filer::readObjectId),
                                     slot(&Filer::readPoint3d),
                                     read<bool>(&Filer::readBool),
                                     read<int>(&Filer::readBool),
                                     read<unsigned int>(&Filer::readInt),
                                     read<int>(&Filer::readInt),
                                     read<unsigned short>(&Filer::readShort),
                                     read<short>(&Filer::readShort),
                                     slot(&Filer::readVariant),
                                     slot(&Filer::readByteArray)};
    EXPECT_EQ(places, placesFrom(2, 36));
}

TEST(VirtualTable, OKTMemoryFiler_SixBehindThoseOfTheFiler)
{
    using Filer = OKTMemoryFiler;
    std::vector<int> const places = {slot(static_cast<bool (Filer::*)(CByteArray const &)>(&Filer::loadFiler)),
                                     slot(static_cast<bool (Filer::*)(CByteArray &)>(&Filer::saveFiler)),
                                     slot(&Filer::readNextObjectClass),
                                     slot(&Filer::skipToNextObject),
                                     slot(&Filer::GetFilerLength),
                                     slot(&Filer::GetFilerPosition)};
    EXPECT_EQ(places, placesFrom(38, 6));
}
} // namespace
