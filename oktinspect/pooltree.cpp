// SPDX-License-Identifier: MIT
#include <oktinspect/pooltree.h>

#include <oktinspect/objectsof.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <set>

namespace okt
{

namespace
{

using Kind = TreeNode::Kind;
using Below = TreeNode::Below;

// Parameters that use each other are not followed deeper.
constexpr std::size_t kDeepest = 32;

TreeNode nodeOf(Kind kind, OKTDbObject &object) { return {kind, Below::Complete, object.objectId(), &object, {}}; }

class TreeMaker : ObjectsOf
{
public:
    explicit TreeMaker(OKTDbPool &pool) : ObjectsOf(pool) {}

    std::vector<TreeNode> nodes()
    {
        std::vector<TreeNode> made;
        for (auto *const each : all<OKTDbGroupCategory>())
            made.push_back(group(*each));
        addHeading(made, Kind::LooseCategories, loose<OKTDbCategory>(), [this](OKTDbCategory &each) { return category(each); });
        addHeading(made, Kind::LooseParameters, loose<OKTDbParameter>(),
                   [this](OKTDbParameter &each) { return parameter(each, {}); });
        addHeading(made, Kind::Relations, all<OKTDbRelation>(), [this](OKTDbRelation &each) { return relation(each); });
        addHeading(made, Kind::Pictures, all<OKTDbPicture>(),
                   [this](OKTDbPicture &each) { return shown(Kind::Picture, each); });
        addHeading(made, Kind::Others, others(), [this](OKTDbObject &each) { return shown(Kind::Other, each); });
        return made;
    }

private:
    /// The objects of a class that have no node yet.
    template <typename T> std::vector<T *> loose() const
    {
        std::vector<T *> found = all<T>();
        std::erase_if(found, [this](T const *each) { return m_shown.count(each->objectId()) != 0; });
        return found;
    }

    std::vector<OKTDbObject *> others() const
    {
        std::vector<OKTDbObject *> found;
        for (OKTDbObjectId const &id : m_all)
            if (OKTDbObject *const each = object(id); each != nullptr && m_shown.count(id) == 0)
                found.push_back(each);
        return found;
    }

    template <typename T, typename Make>
    static void addHeading(std::vector<TreeNode> &made, Kind kind, std::vector<T *> const &objects, Make make)
    {
        if (objects.empty())
            return;
        TreeNode heading;
        heading.kind = kind;
        for (T *const each : objects)
            heading.children.push_back(make(*each));
        made.push_back(std::move(heading));
    }

    TreeNode shown(Kind kind, OKTDbObject &self)
    {
        m_shown.insert(self.objectId());
        return nodeOf(kind, self);
    }

    /// A node for each id of a list; `make` is called for the objects of class T.
    template <typename T, typename Make> void addListed(TreeNode &node, IdArray const &ids, Make make) const
    {
        for (OKTDbObjectId const &id : ids)
        {
            OKTDbObject *const found = object(id);
            if (T *const fitting = T::cast(found))
                node.children.push_back(make(*fitting));
            else
                node.children.push_back({found == nullptr ? Kind::Missing : Kind::Misplaced, Below::Complete, id, found, {}});
        }
    }

    TreeNode group(OKTDbGroupCategory &self)
    {
        TreeNode node = shown(Kind::GroupCategory, self);
        IdArray ids;
        self.getAllCategories(ids);
        addListed<OKTDbCategory>(node, ids, [this](OKTDbCategory &each) { return category(each); });
        return node;
    }

    TreeNode category(OKTDbCategory &self)
    {
        TreeNode node = nodeOf(Kind::Category, self);
        // A list may name a category any number of times.
        if (!m_shown.insert(self.objectId()).second)
        {
            node.below = Below::ShownAbove;
            return node;
        }
        IdArray ids;
        self.getAllParameters(ids);
        addListed<OKTDbParameter>(node, ids, [this](OKTDbParameter &each) { return parameter(each, {}); });
        return node;
    }

    TreeNode parameter(OKTDbParameter &self, std::vector<OKTDbParameter const *> path)
    {
        TreeNode node = shown(Kind::Parameter, self);
        if (std::find(path.begin(), path.end(), &self) != path.end() || path.size() >= kDeepest)
        {
            node.below = Below::ShownAbove;
            return node;
        }
        bool const isFollowed = !m_followed.insert(&self).second;
        if (!path.empty() && isFollowed && self.TabParams().getSize() > 0)
        {
            node.below = Below::ShownElsewhere;
            return node;
        }
        path.push_back(&self);
        addListed<OKTDbParameter>(node, self.TabParams(), [&](OKTDbParameter &each) { return parameter(each, path); });
        return node;
    }

    TreeNode relation(OKTDbRelation &self)
    {
        TreeNode node = shown(Kind::Relation, self);
        auto const *const members = OKTDbParamRelation::cast(&self);
        if (members == nullptr)
            return node;
        IdArray ids;
        members->getAllParameters(ids);
        addListed<OKTDbParameter>(node, ids, [](OKTDbParameter &each) { return nodeOf(Kind::Parameter, each); });
        return node;
    }

    std::set<OKTDbObjectId> m_shown;
    std::set<OKTDbParameter const *> m_followed;
};

} // namespace

std::vector<TreeNode> treeOf(OKTDbPool &pool) { return TreeMaker(pool).nodes(); }

} // namespace okt
