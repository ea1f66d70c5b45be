// SPDX-License-Identifier: MIT
#include <oktinspect/list.h>

#include "oktinspect/stopper.h"
#include "support/files.h"
#include "support/printers.h"

#include <oktformat/guids.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace okt;

namespace
{

std::vector<ListedObject> listed(std::string const &bytes, ListQuery const &query, ListOptions options = {})
{
    std::vector<ListedObject> objects;
    options.onObject = [&objects](ListedObject const &object) { objects.push_back(object); };
    ByteSource source{std::string_view(bytes)};
    list(source, query, options);
    return objects;
}

TEST(List, EveryObject_PlaceClassIdName)
{
    std::vector<ListedObject> const objects = listed(contents(golden("stirrup.okt")), {});
    ASSERT_EQ(objects.size(), 21u);
    ListedObject const &first = objects.front();
    EXPECT_EQ(first.offset, 563);
    EXPECT_EQ(first.size, 463);
    EXPECT_EQ(first.className, CString(u"OKTDbParameter"));
    EXPECT_EQ(first.bases, std::vector<CString>{CString(u"OKTDbObject")});
    EXPECT_TRUE(first.id);
    EXPECT_TRUE(first.name);
    ListedObject const &group = objects[1];
    EXPECT_EQ(group.offset, 1026);
    EXPECT_EQ(group.className, CString(u"OKTDbGroupCategory"));
    EXPECT_EQ(idText(group.id.value()), "{FD73AB2E-1A82-49FF-8881-F7D70F960A36}");
    EXPECT_FALSE(group.name);
}

TEST(List, Patterns_ClassOrBaseAndName)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    EXPECT_EQ(listed(bytes, {"oktdbrelation", ""}).size(), 2u); // a class that is derived from it, too
    EXPECT_EQ(listed(bytes, {"OKTDbCategory", ""}).size(), 2u);
    std::vector<ListedObject> const hooks = listed(bytes, {"", "hook length*"});
    ASSERT_EQ(hooks.size(), 1u);
    EXPECT_EQ(hooks[0].name.value(), CString(u"Hook length 1"));
    EXPECT_TRUE(listed(bytes, {"OKTDbCategory", "Hook*"}).empty());
}

TEST(List, Damaged_FaultAndTheOtherObjects)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    std::vector<Finding> faults;
    ListOptions options;
    options.onFault = [&faults](Finding const &fault) { faults.push_back(fault); };
    EXPECT_EQ(listed(bytes, {}, options).size(), 20u);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].what, Finding::What::ObjectDamaged);
    EXPECT_EQ(faults[0].offset, 581);
}

TEST(List, Cancelled_AtEachObject)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    EXPECT_EQ(cancelledAtEachCall([&bytes](OnProgress const &onProgress) {
                  ListOptions options;
                  options.onProgress = onProgress;
                  listed(bytes, {}, options);
              }),
              21);
}

} // namespace
