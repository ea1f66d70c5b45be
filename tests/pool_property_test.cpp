// Random pools through the binary form: saved, loaded and saved again, in memory and as files. The images are equal, and so are
// the fields, as far as the form promises them.

#include "support/clientclasses.h"
#include "support/pooljson.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace
{
bool isLength(int type)
{
    OKTDbParameter parameter;
    parameter.setType(type);
    return parameter.isInDrawingUnits();
}

/// Makes pools whose contents the form keeps exactly. Under a factor other than 1 these are lengths that division and
/// multiplication leave alone, and quantity expressions in their normal form; everything else is arbitrary.
class PoolMaker
{
public:
    PoolMaker(unsigned int seed, double factor) : m_random(seed), m_factor(factor) {}

    void fill(OKTDbPool &pool)
    {
        pool.setMetricsFactor(m_factor);
        pool.setPoolName(text());
        int const count = below(25);
        for (int i = 0; i < count; ++i)
            m_ids.append(anyId());
        for (int i = 0; i < count; ++i)
        {
            OKTDbObject *const object = make(pool);
            ASSERT_TRUE(pool.appendObject(object));
            m_ids.append(object->objectId());
        }
        pool.setSketchId(id());
        pool.setPPActionsId(id());
        pool.setRadialReinfId(id());
        if (below(4) == 0)
            pool.setConstructId(id());
        if (below(4) == 0)
        {
            IdArray pictures = pool.picturesId();
            pictures.append(id());
            pool.setPicturesIds(pictures);
        }
    }

private:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned int>(limit)); }

    OKTDbObjectId anyId()
    {
        _GUID guid = {};
        guid.Data1 = static_cast<std::uint32_t>(m_random());
        guid.Data2 = static_cast<std::uint16_t>(m_random());
        guid.Data3 = static_cast<std::uint16_t>(m_random());
        for (unsigned char &byte : guid.Data4)
            byte = static_cast<unsigned char>(m_random());
        OKTDbObjectId id;
        id.setGuid(guid);
        return id;
    }

    /// An id of the pool, one of no object, or the null id.
    OKTDbObjectId id()
    {
        if (m_ids.getSize() == 0 || below(8) == 0)
            return OKTDbObjectId();
        return m_ids.at(below(m_ids.getSize()));
    }

    IdArray ids()
    {
        IdArray list;
        for (int i = below(6); i > 0; --i)
            list.append(id());
        return list;
    }

    /// Units other than zero: words, any units with lone surrogates among them, and now and then a text around the limit.
    CString text()
    {
        int const shape = below(60);
        if (shape < 10)
            return CString();
        std::u16string units;
        int length = below(40);
        if (shape == 59)
            length = std::array{65535, 65536, 70000, 65534, 131071}[static_cast<std::size_t>(below(5))];
        for (int i = 0; i < length; ++i)
            units += shape < 35 ? static_cast<char16_t>(' ' + below(95)) : static_cast<char16_t>(1 + below(65535));
        return CString(units.data(), length);
    }

    CString quantity()
    {
        CString expression;
        for (int terms = 1 + below(3); terms > 0; --terms)
        {
            CString term;
            term.Format(u"%s%d ", below(3) == 0 ? u"?x" : u"3x", 1 + below(9999));
            expression += term;
        }
        return expression;
    }

    /// A length that comes back exactly from metres, be the drawing unit the metre, the millimetre or the kilometre.
    double length() { return m_factor == 1000.0 ? 125.0 * (below(20001) - 10000) : static_cast<double>(below(20001) - 10000); }

    double real()
    {
        switch (below(6))
        {
        case 0: return -0.0;
        case 1: return std::numeric_limits<double>::infinity();
        case 2: return std::numeric_limits<double>::denorm_min();
        default: return std::ldexp(static_cast<double>(static_cast<std::int32_t>(m_random())), below(200) - 100);
        }
    }

    void setAnyValue(OKTDbParameter &parameter)
    {
        tagVARIANT value = {};
        switch (below(6))
        {
        case 0:
            value.vt = VT_I2;
            value.iVal = static_cast<short>(m_random());
            parameter.setValue(value);
            break;
        case 1: parameter.setValue(static_cast<int>(m_random()), below(30)); break;
        case 2: parameter.setValue(real(), below(30)); break;
        case 3:
            // A stream keeps 32 bits of a bool, the first 16 of which count.
            value.vt = VT_BOOL;
            value.lVal = below(2) == 0 ? -1 : 0;
            parameter.setValue(value);
            break;
        default: parameter.setValue(text(), below(30)); break;
        }
    }

    void fillParameter(OKTDbParameter &parameter, OKTDbPool &pool)
    {
        int const type = below(85) - 1;
        bool const converts = m_factor != 1.0 && (isLength(type) || type == 39);
        parameter.setType(type);
        parameter.setUserName(text(), false);
        if (!converts)
            setAnyValue(static_cast<OKTDbParameter &>(parameter));
        else if (type == 39)
            parameter.OKTDbParameter::setValue(quantity(), below(30));
        else
            parameter.OKTDbParameter::setValue(length(), below(30));
        parameter.setCategory(id());
        OKTDbObjectId owner = converts ? pool.objectId() : id();
        parameter.setOwnerId(owner);
        parameter.setExpression(text());
        parameter.setDescription(text());
        parameter.setTabParams(ids());
    }

    OKTDbObject *makeParameter(OKTDbPool &pool)
    {
        auto *const parameter = new OKTDbParameter;
        fillParameter(*parameter, pool);
        return parameter;
    }

    OKTDbObject *makeGroup(OKTDbPool &pool)
    {
        auto *const group = new OKTDbGroupParameter;
        OKTDbParameter plain;
        fillParameter(plain, pool);
        // A group hands a variant out to its elements: its own value is set as the base has it.
        static_cast<OKTDbParameter &>(*group) = plain;
        return group;
    }

    OKTDbObject *makeCategory()
    {
        auto *const category = new OKTDbCategory;
        category->setGroupCategory(id());
        category->setCategoryName(text());
        for (OKTDbObjectId const &parameter : ids())
            category->appendParameter(parameter);
        return category;
    }

    OKTDbObject *makeGroupCategory()
    {
        auto *const group = new OKTDbGroupCategory;
        for (OKTDbObjectId const &category : ids())
            group->appendCategory(category);
        return group;
    }

    OKTDbObject *makeRelation()
    {
        auto *const relation = new OKTDbParamRelation;
        for (OKTDbObjectId const &parameter : ids())
            relation->appendParameter(parameter);
        return relation;
    }

    OKTDbObject *makePicture()
    {
        auto *const picture = new OKTDbPicture;
        CByteArray bytes;
        bytes.SetSize(below(12) == 0 ? 49149 + below(8) : below(600));
        for (int i = 0; i < bytes.GetSize(); ++i)
            bytes.SetAt(i, static_cast<BYTE>(m_random()));
        picture->setPictureData(bytes);
        picture->setCameraData({real(), real(), real()}, {real(), real(), real()}, {real(), real(), real()});
        return picture;
    }

    OKTDbObject *make(OKTDbPool &pool)
    {
        switch (below(12))
        {
        case 0: return OKTDbObject::desc()->CreateObject();
        case 1: return makeGroup(pool);
        case 2: return makeCategory();
        case 3: return makeGroupCategory();
        case 4: return new OKTDbRelation;
        case 5: return makeRelation();
        case 6: return makePicture();
        case 7:
        {
            auto *const construct = new ClientConstruct;
            construct->m_number = static_cast<int>(m_random());
            construct->m_text = text();
            return construct;
        }
        case 8:
        {
            auto *const index = new ClientIndexData;
            index->m_number = static_cast<int>(m_random());
            index->m_text = text();
            return index;
        }
        default: return makeParameter(pool);
        }
    }

    std::mt19937 m_random;
    double m_factor;
    IdArray m_ids;
};

/// What a stream keeps of a text of 65,536 units or more: as many as its length modulo 65,536 says (quirk 28).
CString stored(CString const &text) { return text.GetLength() < 65536 ? text : text.Left(text.GetLength() % 65536); }

/// The objects as they come back: texts cut, groups as parameters (quirk 55).
Json describeStored(OKTDbPool &pool)
{
    Json list = Json::array();
    for (int i = 0; i < pool.objectCount(); ++i)
    {
        OKTDbObject *const object = pool.objectAt(i).getObject();
        Json json = describe(object);
        if (auto const *const parameter = OKTDbParameter::cast(object))
        {
            json["class"] = "OKTDbParameter";
            json["userName"] = describe(stored(parameter->UserName()));
            json["expression"] = describe(stored(parameter->Expression()));
            json["description"] = describe(stored(parameter->Description()));
            tagVARIANT const value = parameter->Value();
            if (value.vt == VT_BSTR)
                json["value"]["data"] = describe(stored(CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)))));
        }
        if (auto const *const category = OKTDbCategory::cast(object))
            json["categoryName"] = describe(stored(category->CategoryName()));
        if (auto const *const construct = ClientConstruct::cast(object))
            json["text"] = describe(stored(construct->m_text));
        if (auto const *const index = ClientIndexData::cast(object))
            json["text"] = describe(stored(index->m_text));
        list.push_back(json);
    }
    return list;
}

struct Round
{
    unsigned int seed;
    double factor;
};

void PrintTo(Round const &round, std::ostream *out) { *out << "seed " << round.seed << ", factor " << round.factor; }

class PoolPropertyTest : public testing::TestWithParam<Round>
{
protected:
    void SetUp() override
    {
        PoolMaker maker(GetParam().seed, GetParam().factor);
        maker.fill(m_pool);
    }
    void TearDown() override { EXPECT_THAT(m_reports.texts(), testing::ElementsAre()); }

    static CByteArray save(OKTDbPool const &pool)
    {
        CByteArray image;
        IdMap translated;
        EXPECT_TRUE(pool.saveFiler(image, translated));
        EXPECT_EQ(translated.getSize(), 0);
        return image;
    }

    void expectSameObjects(OKTDbPool &loaded)
    {
        Json const expected = describeStored(m_pool);
        Json const actual = describeObjects(loaded);
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            for (auto const &[key, value] : expected[i].items())
                EXPECT_EQ(actual[i].value(key, Json()).dump(), value.dump()) << i << ' ' << key;
    }

    Json expectedHeader() const
    {
        Json header = describeHeader(m_pool);
        header["poolName"] = describe(stored(m_pool.poolName()));
        return header;
    }

    /// The header as it is once the objects have been read, which take their roles in the order of their ids.
    void expectSameHeader(OKTDbPool const &loaded) const
    {
        Json const expected = expectedHeader();
        Json const actual = describeHeader(loaded);
        for (char const *const key :
             {"objectId", "poolName", "sketchId", "ppActionsId", "radialReinfId", "objectCount", "metricsFactor", "pictures"})
            EXPECT_EQ(actual.at(key).dump(), expected.at(key).dump()) << key;
    }

    ScratchFolder m_folder;
    ClientClasses m_classes;
    ReportCatcher m_reports;
    OKTDbPool m_pool;
};

TEST_P(PoolPropertyTest, SaveLoadSave_InMemory_ImagesAndFieldsAreEqual)
{
    CByteArray const image = save(m_pool);
    OKTDbPool loaded;
    ASSERT_TRUE(loaded.loadFiler(image));
    expectSameObjects(loaded);
    expectSameHeader(loaded);

    // The roles of construct and index go to the last of their objects, so they settle with the first load.
    CByteArray const second = save(loaded);
    EXPECT_EQ(second.GetSize(), image.GetSize());
    OKTDbPool again;
    ASSERT_TRUE(again.loadFiler(second));
    EXPECT_TRUE(save(again) == second);
    if (loaded.constructId() == m_pool.constructId() && loaded.indexId() == m_pool.indexId())
    {
        EXPECT_TRUE(second == image);
    }
}

TEST_P(PoolPropertyTest, WriteReadWrite_AsAFile_FilesAndFieldsAreEqual)
{
    CString const first = m_folder.path("first.okt");
    ASSERT_TRUE(m_pool.writeFile(first));
    OKTDbPool loaded;
    loaded.setMetricsFactor(GetParam().factor);
    ASSERT_TRUE(loaded.readFile(first));
    expectSameObjects(loaded);
    expectSameHeader(loaded);
    CString const second = m_folder.path("second.okt");
    ASSERT_TRUE(loaded.writeFile(second));
    if (loaded.constructId() == m_pool.constructId() && loaded.indexId() == m_pool.indexId())
    {
        EXPECT_TRUE(contentsOf(second) == contentsOf(first));
    }
}

TEST_P(PoolPropertyTest, WriteFile_WhateverTheFactor_LengthsAreThoseOfAPoolInMetres)
{
    CString const path = m_folder.path("pool.okt");
    ASSERT_TRUE(m_pool.writeFile(path));
    OKTDbPool metres;
    ASSERT_TRUE(metres.readFile(path));
    ASSERT_EQ(metres.objectCount(), m_pool.objectCount());
    for (int i = 0; i < metres.objectCount(); ++i)
    {
        auto const *const here = OKTDbParameter::cast(m_pool.objectAt(i));
        auto const *const there = OKTDbParameter::cast(metres.objectAt(i));
        if (here == nullptr || !here->isInDrawingUnits() || here->Value().vt != VT_R8 || GetParam().factor == 1.0)
            continue;
        EXPECT_EQ(there->Value().dblVal, here->Value().dblVal / GetParam().factor) << i;
    }
}

TEST_P(PoolPropertyTest, PartialReaders_OfTheFile_GiveTheSameObjects)
{
    CString const path = m_folder.path("pool.okt");
    ASSERT_TRUE(m_pool.writeFile(path));
    CByteArray const bytes = contentsOf(path);
    OKTDbPool header;
    InfoMap info;
    ASSERT_EQ(header.readFileHeader(path, info), bytes.GetSize() >= 1024);
    if (bytes.GetSize() < 1024)
        return;
    EXPECT_EQ(header.metricsFactor(), 1.0);
    OKTDbPool whole;
    ASSERT_TRUE(whole.readFile(path));
    // Each place that the header gives is that of the object's frame.
    for (auto const &[id, place] : info)
    {
        OKTDbObject *object = nullptr;
        if (place.nObjectSize < 0 || !whole.findObject(id, object))
            continue;
        OKTMemoryFiler filer;
        ASSERT_EQ(object->xmlOut(&filer), eFilerOk);
        EXPECT_TRUE(stretch(bytes, place.nObjectPosition, place.nObjectSize) == filer.takeBytes()) << textOf(id);
    }
}

std::vector<Round> rounds()
{
    std::vector<Round> rounds;
    for (unsigned int seed = 1; seed <= 40; ++seed)
        for (double const factor : {1.0, 1000.0, 0.001})
            rounds.push_back({seed, factor});
    return rounds;
}

std::string roundName(testing::TestParamInfo<Round> const &info)
{
    char const *const unit = info.param.factor == 1.0 ? "metre" : info.param.factor == 1000.0 ? "millimetre" : "kilometre";
    return "seed" + std::to_string(info.param.seed) + "_" + unit;
}

INSTANTIATE_TEST_SUITE_P(RandomPools, PoolPropertyTest, testing::ValuesIn(rounds()), roundName);
} // namespace
