// SPDX-License-Identifier: MIT
#include "poolmaker.h"

#include "clientclasses.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace
{
bool isLength(int type)
{
    OKTDbParameter parameter;
    parameter.setType(type);
    return parameter.isInDrawingUnits();
}

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
} // namespace

void fillRandomly(OKTDbPool &pool, unsigned int seed, double factor) { PoolMaker(seed, factor).fill(pool); }
