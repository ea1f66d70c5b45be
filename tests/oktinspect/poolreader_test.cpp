// SPDX-License-Identifier: MIT
#include <oktinspect/poolreader.h>
#include <oktinspect/pooltree.h>

#include "oktinspect/stopper.h"
#include "support/files.h"
#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktformat/bytesource.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktinspect/info.h>

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace okt;

namespace
{

class PoolReader : public FolderTest
{
};

/// One piece of the file, and each of its 21 objects.
TEST_F(PoolReader, Cancelled_AtEachStep)
{
    EXPECT_EQ(cancelledAtEachCall([](OnProgress const &onProgress) { readPool(golden("stirrup.okt"), 1000, "", onProgress); }),
              22);
    PoolFile const whole = readPool(golden("stirrup.okt"), 1000);
    EXPECT_EQ(whole.pool->objectCount(), 21);
    EXPECT_EQ(whole.fault, "");
}

TEST_F(PoolReader, DamagedFile_Cancelled_AtEachStep)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11;
    std::string const path = put("damaged.okt", bytes);
    EXPECT_GE(cancelledAtEachCall([&path](OnProgress const &onProgress) { readPool(path, 1000, "", onProgress); }), 21);
    EXPECT_EQ(readPool(path, 1000).pool->objectCount(), 20);
}

TEST_F(PoolReader, Info_Cancelled_AtEachObject)
{
    std::string const bytes = contents(golden("stirrup.okt"));
    ByteSource source{std::string_view(bytes)};
    EXPECT_EQ(cancelledAtEachCall([&source](OnProgress const &onProgress) {
                  InfoOptions options;
                  options.onProgress = onProgress;
                  info(source, options);
              }),
              21);
}

TEST_F(PoolReader, ReadBytes_Cancelled)
{
    EXPECT_EQ(cancelledAtEachCall([](OnProgress const &onProgress) { readBytes(golden("stirrup.okt"), onProgress); }), 1);
}

// ---- The tree ------------------------------------------------------------------------------------------------------------------

/// "kind id", one a line, with two blanks for each node above.
std::string outline(std::vector<TreeNode> const &nodes, std::string const &indent = "")
{
    static constexpr char const *kKinds[] = {"group",     "category",  "parameter", "relation",         "picture",
                                             "other",     "misplaced", "missing",   "LOOSE CATEGORIES", "LOOSE PARAMETERS",
                                             "RELATIONS", "PICTURES",  "OTHERS"};
    static constexpr char const *kBelow[] = {"", " above", " elsewhere"};
    std::string text;
    for (TreeNode const &node : nodes)
    {
        text += indent + kKinds[static_cast<int>(node.kind)] + kBelow[static_cast<int>(node.below)];
        text += node.id.isNull() ? "\n" : " " + idText(node.id).substr(1, 4) + "\n";
        text += outline(node.children, indent + "  ");
    }
    return text;
}

TEST_F(PoolReader, Tree_EveryClass)
{
    PoolFile const file = readPool(golden("every-class.okt"), 1);
    EXPECT_EQ(outline(treeOf(*file.pool)), "group 3859\n"
                                           "  category A1DD\n"
                                           "    parameter 1D36\n"
                                           "    parameter 1CDB\n"
                                           "      parameter 1D36\n"
                                           "      parameter 1D36\n"
                                           "RELATIONS\n"
                                           "  relation 4F66\n"
                                           "    parameter 1CDB\n"
                                           "    parameter 1D36\n"
                                           "  relation 0697\n"
                                           "PICTURES\n"
                                           "  picture 8B73\n"
                                           "OTHERS\n"
                                           "  other E82D\n");
    EXPECT_EQ(file.unread.size(), 2u); // of classes that this program registers with other members
}

TEST_F(PoolReader, Tree_MisplacedAndMissing)
{
    PoolFile const file = readPool(golden("object-order.okt"), 1);
    std::vector<TreeNode> const nodes = treeOf(*file.pool);
    ASSERT_FALSE(nodes.empty());
    EXPECT_EQ(nodes[0].kind, TreeNode::Kind::GroupCategory);
    ASSERT_GE(nodes[0].children.size(), 2u);
    EXPECT_EQ(nodes[0].children[0].kind, TreeNode::Kind::Misplaced);
    EXPECT_NE(nodes[0].children[0].object, nullptr);
    EXPECT_TRUE(nodes[0].children[0].children.empty());
}

/// Two parameters that use each other, and one that both a category and a third parameter name.
TEST_F(PoolReader, Tree_Cycle_EndsWhereItCloses)
{
    OKTDbPool pool;
    auto *const first = new OKTDbParameter(10, OKTDbObjectId());
    auto *const second = new OKTDbParameter(10, OKTDbObjectId());
    pool.appendObject(first);
    pool.appendObject(second);
    IdArray used;
    used.append(second->objectId());
    first->setTabParams(used);
    used.at(0) = first->objectId();
    second->setTabParams(used);
    std::vector<TreeNode> const nodes = treeOf(pool);
    ASSERT_EQ(nodes.size(), 1u);
    EXPECT_EQ(nodes[0].kind, TreeNode::Kind::LooseParameters);
    TreeNode const *node = &nodes[0].children.at(0);
    EXPECT_EQ(node->below, TreeNode::Below::Complete);
    node = &node->children.at(0);
    EXPECT_EQ(node->below, TreeNode::Below::Complete);
    node = &node->children.at(0);
    EXPECT_EQ(node->below, TreeNode::Below::ShownAbove);
    EXPECT_TRUE(node->children.empty());
}

} // namespace
