// SPDX-License-Identifier: MIT
#include <oktinspect/moduletext.h>

#include <oktplatform/oktprogram.h>
#include <tools/okt/files/files.h>

#include "support/files.h"

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace okt;

namespace
{

class OktModuleText : public FolderTest
{
protected:
    ~OktModuleText() override { modules().searchIn({}, false); }

    void searchHere(bool isOn) const { modules().searchIn({{utf8Path(path("")), ModuleOrigin::Variable, "", false}}, isOn); }
    std::string module(std::string const &name) const
    {
        return put(name + OktLibraryEnding().ToUtf8(), std::string("code BarMark\0", 13));
    }
};

TEST_F(OktModuleText, ModuleNaming_FileThatNamesTheClass_NotLoaded)
{
    std::string const file = module("a");
    searchHere(true);
    EXPECT_EQ(moduleNaming("BarMark"), file);
    EXPECT_EQ(moduleNaming("BarMark2"), std::nullopt);
    EXPECT_EQ(moduleNaming(""), std::nullopt);
    EXPECT_TRUE(modules().loaded().empty());
}

TEST_F(OktModuleText, Help_EachOutcome)
{
    using Kind = ModuleAnswer::Kind;
    auto const help = [](Kind kind, ModulePlace place) {
        return helpFor({kind, utf8Path("/opt/bars/libbars.so"), ModuleOrigin::Own, "the module cannot be loaded: no /opt/x"},
                       place);
    };
    EXPECT_EQ(help(Kind::LeftOut, ModulePlace::Path), "/opt/bars/libbars.so names it, which --no-modules leaves out");
    EXPECT_EQ(help(Kind::Refused, ModulePlace::Path), "/opt/bars/libbars.so names it: the module cannot be loaded: no /opt/x");
    EXPECT_EQ(help(Kind::Refused, ModulePlace::Name), "libbars.so from okt's own modules names it, and cannot be used");
    EXPECT_EQ(help(Kind::Other, ModulePlace::Name),
              "libbars.so from okt's own modules brings a class of this name with other members; --module FILE gives another");
}

TEST_F(OktModuleText, Lines_ModulesAndClasses)
{
    using Lines = std::vector<std::string>;
    PoolFile file;
    file.modules.push_back({utf8Path("/opt/bars/libbars.so"), ModuleOrigin::Variable, {"BarMark", "BarZone"}});
    file.missing.push_back({u"Odd\n", 2, 10, {}});
    EXPECT_EQ(moduleLines(file, ModulePlace::Path), Lines{"/opt/bars/libbars.so: BarMark, BarZone"});
    EXPECT_EQ(moduleLines(file, ModulePlace::Name), Lines{"libbars.so from OKT_MODULE_PATH: BarMark, BarZone"});
    EXPECT_EQ(
        missingLines(file, ModulePlace::Path),
        Lines{"Odd\\n, 2 objects: no module that okt finds names it; --module FILE gives one, okt modules tells where okt "
              "looks"});
}

TEST_F(OktModuleText, Find_SwitchedOff_LeftOutAndNothingLoaded)
{
    std::string const file = module("a");
    searchHere(false);
    ModuleAnswer const &answer = modules().find(u"BarMark");
    EXPECT_EQ(answer.kind, ModuleAnswer::Kind::LeftOut);
    EXPECT_EQ(pathName(answer.file), file);
    EXPECT_EQ(modules().find(u"Other").kind, ModuleAnswer::Kind::None);
    EXPECT_TRUE(modules().loaded().empty());
}

} // namespace
