// SPDX-License-Identifier: MIT
#include <oktinspect/matching.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace okt
{

namespace
{

using okttext::Bytes;
using okttext::Record;
using Colour = std::uint64_t;

Colour mixed(Colour seed, Colour value)
{
    seed ^= value + 0x9E3779B97F4A7C15ull + (seed << 6) + (seed >> 2);
    seed ^= seed >> 29;
    return seed * 0xBF58476D1CE4E5B9ull;
}

Colour mixed(Colour seed, Bytes bytes) { return mixed(seed, std::hash<std::string_view>()(bytes)); }

bool isNull(std::string const &id) { return id == std::string(16, '\0'); }

/// The contents of an object without the ids of objects of the pool.
struct Node
{
    Colour colour = 0;
    std::vector<std::size_t> references; ///< in the order in which they stand; kUnmatched: not an object of the pool
    std::string_view className;
    std::string_view name;
};

/// A pool as a graph: its objects, and its header as the last node.
class Graph
{
public:
    explicit Graph(DiffPool const &pool)
    {
        std::vector<DiffObject> const &objects = pool.objects();
        for (std::size_t i = 0; i < objects.size(); ++i)
            if (!objects[i].stretch.id.empty())
                m_places.emplace(objects[i].stretch.id, i);
        for (DiffObject const &object : objects)
        {
            Node &node = m_nodes.emplace_back();
            node.className = object.className;
            node.name = object.name;
            if (object.stretch.isObject)
                add(node, pool.recordOf(object), object.stretch.id);
            else
                node.colour = mixed(node.colour, pool.bytesOf(object));
        }
        addHeader(m_nodes.emplace_back(), pool.parts().header);
    }

    std::vector<Node> const &nodes() const { return m_nodes; }
    std::size_t header() const { return m_nodes.size() - 1; }

    /// One round: the colour of each node is mixed with the colours of its neighbours in both directions.
    void refine()
    {
        std::vector<std::vector<Colour>> incoming(m_nodes.size());
        for (Node const &node : m_nodes)
            for (std::size_t i = 0; i < node.references.size(); ++i)
                if (node.references[i] != kUnmatched)
                    incoming[node.references[i]].push_back(mixed(node.colour, i));
        std::vector<Colour> next;
        next.reserve(m_nodes.size());
        for (std::size_t n = 0; n < m_nodes.size(); ++n)
        {
            Colour colour = m_nodes[n].colour;
            for (std::size_t const reference : m_nodes[n].references)
                colour = mixed(colour, reference == kUnmatched ? 1 : m_nodes[reference].colour);
            std::sort(incoming[n].begin(), incoming[n].end());
            for (Colour const other : incoming[n])
                colour = mixed(colour, other);
            next.push_back(colour);
        }
        keepRound();
        for (std::size_t n = 0; n < m_nodes.size(); ++n)
            m_nodes[n].colour = next[n];
    }

    std::size_t rounds() const { return m_rounds.size(); }
    /// Restores the colours after that many rounds. A difference spreads to the neighbours, one step a round: with
    /// fewer rounds more nodes are equal.
    void goBackTo(std::size_t round)
    {
        for (std::size_t n = 0; n < m_nodes.size(); ++n)
            m_nodes[n].colour = m_rounds[round][n];
    }

    std::size_t colours() const
    {
        std::set<Colour> seen;
        for (Node const &node : m_nodes)
            seen.insert(node.colour);
        return seen.size();
    }

private:
    void keepRound()
    {
        std::vector<Colour> &round = m_rounds.emplace_back();
        for (Node const &node : m_nodes)
            round.push_back(node.colour);
    }

    void add(Node &node, Record const &record, std::string const &ownId)
    {
        if (std::string const id = okttext::idOf(record); !id.empty())
        {
            if (id == ownId)
            {
                node.colour = mixed(node.colour, 2);
                return;
            }
            auto const place = m_places.find(id);
            node.colour = place == m_places.end() ? mixed(node.colour, Bytes(id)) : mixed(node.colour, 3);
            if (!isNull(id))
                node.references.push_back(place == m_places.end() ? kUnmatched : place->second);
            return;
        }
        constexpr Colour kRaw = 0xFF; // no type
        node.colour = mixed(node.colour, record.type ? static_cast<Colour>(*record.type) : kRaw);
        node.colour = mixed(node.colour, static_cast<std::uint32_t>(record.number));
        node.colour = mixed(node.colour, record.payload);
        for (Record const &child : record.children)
            add(node, child, ownId);
        node.colour = mixed(node.colour, 4);
    }

    /// The numbers of the header are positions, which differ in every file.
    void addHeader(Node &node, Record const &record)
    {
        node.className = "header";
        if (std::string const id = okttext::idOf(record); !id.empty())
        {
            auto const place = m_places.find(id);
            node.references.push_back(place == m_places.end() ? kUnmatched : place->second);
            return;
        }
        for (Record const &child : record.children)
            addHeader(node, child);
    }

    std::map<std::string, std::size_t> m_places; ///< objects by id
    std::vector<Node> m_nodes;
    std::vector<std::vector<Colour>> m_rounds;
};

void setIds(Matching &matching, DiffPool const &first, DiffPool const &second)
{
    for (std::size_t i = 0; i < matching.second.size(); ++i)
    {
        if (matching.second[i] == kUnmatched)
            continue;
        std::string const &id = first.objects()[i].stretch.id;
        std::string const &other = second.objects()[matching.second[i]].stretch.id;
        if (!id.empty() && !other.empty())
            matching.ids.emplace(id, other);
    }
}

Matching unmatched(DiffPool const &first, DiffPool const &second)
{
    Matching matching;
    matching.second.assign(first.objects().size(), kUnmatched);
    matching.first.assign(second.objects().size(), kUnmatched);
    return matching;
}

/// Finds pairs in two graphs. Each pair can produce further pairs among the nodes that its two members refer to.
class Matcher
{
public:
    Matcher(Graph &first, Graph &second) : m_first(first), m_second(second)
    {
        m_toSecond.assign(first.nodes().size(), kUnmatched);
        m_toFirst.assign(second.nodes().size(), kUnmatched);
    }

    void run()
    {
        pair(m_first.header(), m_second.header());
        matchSame(false);
        for (std::size_t round = m_first.rounds(); round-- > 0;)
        {
            m_first.goBackTo(round);
            m_second.goBackTo(round);
            matchSame(round == 0);
        }
        followAll(Likeness::Named);
        matchNames(true);
        matchNames(false);
        followAll(Likeness::OfOneClass);
    }

    std::vector<std::size_t> const &toSecond() const { return m_toSecond; }

private:
    std::vector<Node> const &first() const { return m_first.nodes(); }
    std::vector<Node> const &second() const { return m_second.nodes(); }

    void pair(std::size_t n, std::size_t other)
    {
        m_toSecond[n] = other;
        m_toFirst[other] = n;
        m_queue.push_back(n);
    }

    /// How equal two objects must be to become a pair because a pair refers to them.
    enum class Likeness
    {
        Same,
        Named,     ///< class and name
        OfOneClass ///< a new name too is a change
    };

    void followAll(Likeness likeness)
    {
        m_likeness = likeness;
        for (std::size_t n = 0; n < first().size(); ++n)
            if (m_toSecond[n] != kUnmatched)
                m_queue.push_back(n);
        follow();
    }

    static bool isFree(std::vector<std::size_t> const &pairs, std::size_t n)
    {
        return n != kUnmatched && pairs[n] == kUnmatched;
    }
    bool areFree(std::size_t n, std::size_t other) const { return isFree(m_toSecond, n) && isFree(m_toFirst, other); }

    bool isLike(std::size_t n, std::size_t other) const
    {
        Node const &left = first()[n];
        Node const &right = second()[other];
        if (left.colour == right.colour)
            return true;
        if (m_likeness == Likeness::Same || left.className != right.className || left.className.empty())
            return false;
        return m_likeness == Likeness::OfOneClass || left.name == right.name;
    }

    /// Pairs the nodes that the two members of a pair refer to: by member, or in order where one has more references.
    void follow()
    {
        while (!m_queue.empty())
        {
            std::size_t const n = m_queue.back();
            m_queue.pop_back();
            std::vector<std::size_t> const &left = first()[n].references;
            std::vector<std::size_t> const &right = second()[m_toSecond[n]].references;
            for (std::size_t i = 0; left.size() == right.size() && i < left.size(); ++i)
                if (areFree(left[i], right[i]) && isLike(left[i], right[i]))
                    pair(left[i], right[i]);
            if (m_likeness != Likeness::Named || left.size() == right.size())
                continue;
            std::vector<std::size_t> open; // usually few, even if the lists are long
            for (std::size_t const reference : right)
                if (isFree(m_toFirst, reference))
                    open.push_back(reference);
            std::size_t next = 0;
            for (std::size_t const reference : left)
                for (std::size_t i = isFree(m_toSecond, reference) ? next : open.size(); i < open.size(); ++i)
                    if (areFree(reference, open[i]) && isLike(reference, open[i]))
                    {
                        pair(reference, open[i]);
                        next = i + 1;
                        break;
                    }
        }
    }

    /// Pairs objects of the same colour: first those whose colour is unique, then the others
    /// one by one, since each pair may produce further ones.
    void matchSame(bool isLast)
    {
        std::map<Colour, std::vector<std::size_t>> left;
        std::map<Colour, std::vector<std::size_t>> right;
        for (std::size_t n = 0; n + 1 < first().size(); ++n)
            if (m_toSecond[n] == kUnmatched)
                left[first()[n].colour].push_back(n);
        for (std::size_t n = 0; n + 1 < second().size(); ++n)
            if (m_toFirst[n] == kUnmatched)
                right[second()[n].colour].push_back(n);
        for (bool const isAlone : {true, false})
        {
            for (auto const &[colour, nodes] : left)
            {
                auto const others = right.find(colour);
                if (others == right.end() || (isAlone && (nodes.size() != 1 || others->second.size() != 1)) ||
                    (!isLast && nodes.size() != others->second.size()))
                    continue;
                pairInOrder(nodes, others->second);
            }
            follow();
        }
    }

    void pairInOrder(std::vector<std::size_t> const &nodes, std::vector<std::size_t> const &others)
    {
        auto next = others.begin();
        for (std::size_t const n : nodes)
        {
            if (m_toSecond[n] != kUnmatched)
                continue;
            next = std::find_if(next, others.end(), [&](std::size_t other) { return m_toFirst[other] == kUnmatched; });
            if (next == others.end())
                return;
            pair(n, *next);
            if (nodes.size() > 1)
                follow();
        }
    }

    void matchNames(bool onlyAlone)
    {
        using Key = std::pair<std::string_view, std::string_view>;
        std::map<Key, std::vector<std::size_t>> left;
        std::map<Key, std::vector<std::size_t>> right;
        for (std::size_t n = 0; n < first().size(); ++n)
            if (m_toSecond[n] == kUnmatched)
                left[{first()[n].className, first()[n].name}].push_back(n);
        for (std::size_t n = 0; n < second().size(); ++n)
            if (m_toFirst[n] == kUnmatched)
                right[{second()[n].className, second()[n].name}].push_back(n);
        for (auto const &[key, nodes] : left)
        {
            auto const others = right.find(key);
            if (others == right.end() || (onlyAlone && (nodes.size() != 1 || others->second.size() != 1)))
                continue;
            pairInOrder(nodes, others->second);
            follow();
        }
    }

    Graph &m_first;
    Graph &m_second;
    Likeness m_likeness = Likeness::Same;
    std::vector<std::size_t> m_toSecond;
    std::vector<std::size_t> m_toFirst;
    std::vector<std::size_t> m_queue;
};

} // namespace

Matching matchById(DiffPool const &first, DiffPool const &second)
{
    Matching matching = unmatched(first, second);
    // Objects with the same id, and objects without one, are matched in their order.
    std::map<std::pair<bool, std::string>, std::vector<std::size_t>> others;
    for (std::size_t i = second.objects().size(); i-- > 0;)
        others[{second.objects()[i].stretch.isObject, second.objects()[i].stretch.id}].push_back(i);
    for (std::size_t i = 0; i < first.objects().size(); ++i)
    {
        auto const found = others.find({first.objects()[i].stretch.isObject, first.objects()[i].stretch.id});
        if (found == others.end() || found->second.empty())
            continue;
        matching.second[i] = found->second.back();
        matching.first[found->second.back()] = i;
        found->second.pop_back();
    }
    return matching; // every id corresponds to itself
}

Matching matchByName(DiffPool const &first, DiffPool const &second)
{
    if (!first.exists() || !second.exists())
        return unmatched(first, second);
    Graph left(first);
    Graph right(second);
    constexpr int kMostRounds = 64;
    std::size_t known = 0;
    for (int round = 0; round < kMostRounds; ++round)
    {
        std::size_t const colours = left.colours() + right.colours();
        if (round > 0 && colours <= known)
            break;
        known = colours;
        left.refine();
        right.refine();
    }
    Matcher matcher(left, right);
    matcher.run();
    Matching matching = unmatched(first, second);
    for (std::size_t i = 0; i < matching.second.size(); ++i)
    {
        std::size_t const other = matcher.toSecond()[i];
        if (other >= matching.first.size()) // also kUnmatched
            continue;
        matching.second[i] = other;
        matching.first[other] = i;
    }
    setIds(matching, first, second);
    return matching;
}

} // namespace okt
