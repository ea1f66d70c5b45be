// SPDX-License-Identifier: MIT
#include "support/allclasses.h"

#include "support/failingrandom.h"
#include "support/imageof.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <thread>

namespace
{
constexpr double kFactor = 1000.0;
constexpr ParamType kCover = 6; // a length
constexpr ParamType kDiameter = 5;
constexpr ParamType kQuantity = 39;

/// How much of everything.
struct Amounts
{
    int plainParameters;
    int listedParameters;
    int categoryIds;
    int relationIds;
    int longText;
    int pictureBytes;
};
constexpr Amounts kSmall = {6, 12, 30, 20, 1100, 50'000};
constexpr Amounts kLarge = {1500, 1000, 3200, 4000, 60'000, 150'000};

CString textOf(int length, int number)
{
    std::u16string units;
    for (int i = 0; i < length; ++i)
        units += static_cast<char16_t>(i % 7 == 0 ? u'Ø' : u'a' + (i * 7 + number) % 26);
    return CString(units.data(), length);
}

CString numbered(char16_t const *text, int number)
{
    CString name;
    name.Format(u"%s %d", text, number);
    return name;
}

class Filling
{
public:
    Filling(OKTDbPool &pool, Amounts const &amounts) : m_pool(pool), m_amounts(amounts) {}

    void fill()
    {
        m_pool.setMetricsFactor(kFactor);
        m_pool.setPoolName(u"A template with an object of every class");
        append(OKTDbObject::desc()->CreateObject());
        addValues();
        for (int i = 0; i < m_amounts.plainParameters; ++i)
        {
            OKTDbParameter *const parameter = addParameter(kCover, numbered(u"Spacing of the stirrups", i));
            parameter->setValue(125.0 * i, i);
            parameter->setDescription(numbered(u"A description that no other parameter has, of row", i));
        }
        addTexts();
        addLists();
        addPictures();
        addClients();
        m_pool.setSketchId(m_ids.at(0));
        m_pool.setPPActionsId(m_ids.at(1));
        m_pool.setRadialReinfId(OKTDbObjectId::createObjectId(nullptr)); // of no object
    }

private:
    void append(OKTDbObject *object)
    {
        ASSERT_TRUE(m_pool.appendObject(object));
        m_ids.append(object->objectId());
    }

    OKTDbParameter *addParameter(ParamType type, CString const &name)
    {
        auto *const parameter = new OKTDbParameter(type, m_pool.objectId());
        parameter->setUserName(name, false);
        parameter->setExpression(u"hook + 2 * cover");
        append(parameter);
        return parameter;
    }

    void addVariant(ParamType type, tagVARIANT const &value)
    {
        addParameter(type, numbered(u"A parameter whose value is of kind", value.vt))->setValue(value);
    }

    // Every kind of value that has a stored form, lengths and quantities among them.
    void addValues()
    {
        tagVARIANT value = {};
        value.vt = VT_I2;
        value.iVal = -7;
        addVariant(kDiameter, value);
        value = {};
        value.vt = VT_R4; // 0 alone comes back as it went out
        addVariant(kDiameter, value);
        addParameter(kDiameter, u"Diameter")->setValue(70000, 1);
        addParameter(kDiameter, u"Diameter as a number with a point")->setValue(16.5, 2);
        addParameter(kDiameter, u"Whether there is a hook")->setValue(true, 3);
        addParameter(kDiameter, u"A text as value")->setValue(u"a value that is a text of some length", 4);
        addParameter(kDiameter, u"A text that is null")->setValue(nullptr, 0);
        addParameter(kCover, u"Cover")->setValue(35.0, 5);
        addParameter(kCover, u"A length that is a text")->setValue(u"as the stirrup has it", 6);
        addParameter(kQuantity, u"Quantities")->setValue(u"12x2000 3x1500 7x250 ", 7);
        addParameter(82, CString())->setValue(0, 0);
    }

    void addTexts()
    {
        OKTDbParameter *parameter = addParameter(kDiameter, textOf(300, 1));
        parameter->setDescription(textOf(m_amounts.longText, 2));
        parameter->setValue(1.0, 0);
        // One that goes out member by member, since its texts are too long together.
        parameter = addParameter(kDiameter, textOf(m_amounts.longText, 3));
        parameter->setExpression(textOf(m_amounts.longText, 4));
        parameter->setValue(textOf(m_amounts.longText, 5), 0);
    }

    IdArray firstIds(int count)
    {
        IdArray ids;
        for (int i = 0; i < count; ++i)
            ids.append(i < m_ids.getSize() ? m_ids.at(i) : OKTDbObjectId::createObjectId(nullptr));
        return ids;
    }

    void addLists()
    {
        OKTDbParameter *const parameter = addParameter(kCover, u"Lists others");
        parameter->setTabParams(firstIds(m_amounts.listedParameters));
        parameter->setValue(1000.0, 0);

        auto *const group = new OKTDbGroupParameter;
        group->setUserName(u"A group of parameters", false);
        group->setType(kCover);
        group->setOwnerId(m_pool.objectId());
        static_cast<OKTDbParameter &>(*group).setValue(250.0, 0);
        append(group);
        for (int i = 1; i < 8; ++i)
            group->addElement(m_ids.at(i));

        auto *const groups = new OKTDbGroupCategory;
        append(groups);
        auto *const category = new OKTDbCategory;
        category->setCategoryName(u"A category with many parameters");
        category->setGroupCategory(groups->objectId());
        for (OKTDbObjectId const &id : firstIds(m_amounts.categoryIds))
            category->appendParameter(id);
        append(category);
        auto *const empty = new OKTDbCategory;
        append(empty);
        groups->appendCategory(category->objectId());
        groups->appendCategory(empty->objectId());

        append(new OKTDbRelation);
        auto *const relation = new OKTDbParamRelation;
        for (OKTDbObjectId const &id : firstIds(m_amounts.relationIds))
            relation->appendParameter(id);
        append(relation);
    }

    void addPicture(int size)
    {
        auto *const picture = new OKTDbPicture;
        CByteArray bytes;
        bytes.SetSize(size);
        for (int i = 0; i < size; ++i)
            bytes.SetAt(i, static_cast<BYTE>(std::int64_t{i} * i + size));
        picture->setPictureData(bytes);
        picture->setCameraData({1.0, 2.0, size + 0.5}, {0.0, -1.0, 0.0}, {0.0, 0.0, 1.0});
        append(picture);
    }

    void addPictures()
    {
        addPicture(0);
        addPicture(100);
        addPicture(m_amounts.pictureBytes);
    }

    void addClients()
    {
        auto *const construct = new ClientConstruct;
        construct->m_number = 5;
        construct->m_text = u"the construct of the template";
        append(construct);
        auto *const index = new ClientIndexData;
        index->m_number = 6;
        index->m_text = u"the index of the template";
        append(index);
    }

    OKTDbPool &m_pool;
    Amounts const &m_amounts;
    IdArray m_ids;
};

/// In a thread that draws its ids from a source that is always the same.
template <typename Fill> void withRepeatedIds(OKTDbPool &pool, Fill fill)
{
    RepeatedRandom const random;
    std::thread([&] {
        pool.setObjectId(OKTDbObjectId::createObjectId(&pool));
        fill();
    }).join();
}
} // namespace

void fillWithAllClasses(OKTDbPool &pool, PoolSize size)
{
    withRepeatedIds(pool, [&] { Filling(pool, size == PoolSize::Small ? kSmall : kLarge).fill(); });
}

void fillWithParameters(OKTDbPool &pool, int count)
{
    withRepeatedIds(pool, [&] {
        pool.setMetricsFactor(kFactor);
        for (int i = 0; i < count; ++i)
        {
            auto *const parameter = new OKTDbParameter(kCover, pool.objectId());
            parameter->setUserName(numbered(u"Spacing of the stirrups", i), false);
            parameter->setValue(125.0 * i, i);
            ASSERT_TRUE(pool.appendObject(parameter));
        }
    });
}

std::vector<std::string> missingClasses(OKTDbPool const &pool)
{
    std::set<OKTRuntimeClass const *> met;
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
        met.insert(id.getObject()->isA());
    std::vector<std::string> missing;
    for (auto const &[name, descriptor] : g_RuntimeClass)
        if (std::string const text = name.ToUtf8(); text.starts_with("OKT") && !met.contains(descriptor))
            missing.push_back(text);
    return missing;
}

AllClassesPool::AllClassesPool(PoolSize size)
{
    fillWithAllClasses(m_pool, size);
    EXPECT_EQ(missingClasses(m_pool), std::vector<std::string>());
    m_image = imageOf(m_pool);
}
