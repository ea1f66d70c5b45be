// SPDX-License-Identifier: MIT
#pragma once

#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// A template's parameters in small.
class DiffTest : public FolderTest
{
protected:
    DiffTest()
    {
        m_pool.setPoolName(u"Link");
        auto *const owner = new OKTDbParamRelation;
        m_pool.appendObject(owner);
        m_category = new OKTDbCategory;
        m_pool.appendObject(m_category);
        m_category->setCategoryName(u"Bar");
        for (int i = 0; i < 4; ++i)
            addParameter(owner->objectId(), i);
    }

    OKTDbParameter *addParameter(OKTDbObjectId const &owner, int number)
    {
        auto *const parameter = new OKTDbParameter(54, owner);
        m_pool.appendObject(parameter);
        parameter->setValue(0.25 * number, number);
        parameter->setUserName(number == 0 ? u"Length" : number == 1 ? u"Leg A" : number == 2 ? u"Leg B" : u"Leg C", false);
        parameter->setCategory(m_category->objectId());
        m_category->appendParameter(parameter->objectId());
        m_parameters.push_back(parameter);
        return parameter;
    }

    std::string write(std::string const &name) const { return write(name, m_pool); }
    std::string write(std::string const &name, OKTDbPool const &pool) const
    {
        EXPECT_TRUE(const_cast<OKTDbPool &>(pool).writeFile(m_folder.path(name)));
        return path(name);
    }

    std::string writeClone(std::string const &name)
    {
        m_pool.setBoolTranslatedIds(true);
        std::unique_ptr<OKTDbPool> const clone(m_pool.clone());
        m_pool.setBoolTranslatedIds(false);
        return write(name, *clone);
    }

    static void expectSame(ProcessResult const &result)
    {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }

    static void expectDifferent(ProcessResult const &result, std::string const &lines)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "");
        std::size_t const body = result.out.find('\n', result.out.find('\n') + 1) + 1;
        EXPECT_EQ(result.out.substr(body), lines);
    }

    static void expectTrouble(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::StartsWith("okt: " + message));
    }

    static std::string textOf(OKTDbObject const *object) { return object->objectId().getGuidAsString(false).ToUtf8(); }

    OKTDbPool m_pool;
    OKTDbCategory *m_category = nullptr;
    std::vector<OKTDbParameter *> m_parameters;
};
