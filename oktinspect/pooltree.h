// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>

#include <vector>

class OKTDbObject;
class OKTDbPool;

namespace okt
{

/// An object of a pool with what it lists, or a heading with objects below it.
struct TreeNode
{
    enum class Kind
    {
        // Objects.
        GroupCategory,
        Category,
        Parameter, ///< below it the parameters that it uses
        Relation,  ///< below it its parameters, without what these use
        Picture,
        Other,     ///< of a class that is none of these
        Misplaced, ///< listed where an object of another class belongs
        Missing,   ///< listed, but not in the pool: only the id is known
        // Headings, without an object.
        LooseCategories, ///< in no group
        LooseParameters, ///< in no category
        Relations,
        Pictures,
        Others
    };
    enum class Below
    {
        Complete,      ///< all that it lists is below
        ShownAbove,    ///< left out, as it is below another node of the path from the top, or of a category in front
        ShownElsewhere ///< left out, as it is below another node of the tree
    };

    Kind kind = Kind::Other;
    Below below = Below::Complete;
    OKTDbObjectId id;
    OKTDbObject *object = nullptr; ///< the pool's
    std::vector<TreeNode> children;
};

/// A pool in the order in which people see it: groups with their categories, these with their parameters; then what stands in no
/// group and no category, relations, pictures and other objects. Headings have at least one object below them. Parameters that
/// use each other are followed once, to a depth of 32.
///
/// The objects stay the pool's, which must not change meanwhile. Nothing else is kept; the operation uses the pool's thread.
std::vector<TreeNode> treeOf(OKTDbPool &pool);

} // namespace okt
