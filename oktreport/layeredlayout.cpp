// SPDX-License-Identifier: MIT
#include <oktreport/layeredlayout.h>

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace okt
{

namespace
{

constexpr int kOrderSweeps = 12;
constexpr int kPlaceSweeps = 16;

/// A box, or the point where an arrow crosses a layer.
struct Slot
{
    double width = 0;
    int layer = 0;
    bool passes = false;
    std::vector<std::size_t> left;
    std::vector<std::size_t> right;
    double y = 0;
};

class Layouter
{
public:
    Layouter(std::vector<LayoutNode> const &nodes, std::vector<LayoutEdge> const &edges, LayoutMeasures const &measures)
        : m_nodes(nodes), m_edges(edges), m_measures(measures)
    {
    }

    Layout layout()
    {
        breakCircles();
        setLayers();
        makeSlots();
        order();
        place();
        return drawn();
    }

private:
    bool isLoop(std::size_t edge) const { return m_edges[edge].from == m_edges[edge].to; }
    std::size_t tail(std::size_t edge) const { return m_turned[edge] ? m_edges[edge].to : m_edges[edge].from; }
    std::size_t head(std::size_t edge) const { return m_turned[edge] ? m_edges[edge].from : m_edges[edge].to; }

    /// Reverses the arrows that close a cycle.
    void breakCircles()
    {
        m_turned.assign(m_edges.size(), false);
        std::vector<std::vector<std::size_t>> out(m_nodes.size());
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge)
            if (!isLoop(edge))
                out[m_edges[edge].from].push_back(edge);
        enum : char
        {
            Unseen,
            OnTheWay,
            Done
        };
        std::vector<char> state(m_nodes.size(), Unseen);
        struct Step
        {
            std::size_t node;
            std::size_t next;
        };
        for (std::size_t start = 0; start < m_nodes.size(); ++start)
        {
            if (state[start] != Unseen)
                continue;
            state[start] = OnTheWay;
            std::vector<Step> way = {{start, 0}};
            while (!way.empty())
            {
                Step &step = way.back();
                if (step.next == out[step.node].size())
                {
                    state[step.node] = Done;
                    m_finished.push_back(step.node);
                    way.pop_back();
                    continue;
                }
                std::size_t const edge = out[step.node][step.next++];
                std::size_t const to = m_edges[edge].to;
                if (state[to] == OnTheWay)
                    m_turned[edge] = true;
                if (state[to] != Unseen)
                    continue;
                state[to] = OnTheWay;
                way.push_back({to, 0});
            }
        }
    }

    /// Puts each box in the first layer after all boxes that lead to it.
    void setLayers()
    {
        std::vector<std::vector<std::size_t>> out(m_nodes.size());
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge)
            if (!isLoop(edge))
                out[tail(edge)].push_back(head(edge));
        m_layers.resize(m_nodes.size());
        for (std::size_t node = 0; node < m_nodes.size(); ++node)
            m_layers[node] = std::max(m_nodes[node].firstLayer, 0);
        // A turned arrow leads to a box that was finished later, as all others lead to one finished earlier.
        for (std::size_t i = m_finished.size(); i-- > 0;)
            for (std::size_t const to : out[m_finished[i]])
                m_layers[to] = std::max(m_layers[to], m_layers[m_finished[i]] + 1);
    }

    std::size_t addSlot(Slot slot)
    {
        std::size_t const index = m_slots.size();
        std::size_t const layer = static_cast<std::size_t>(slot.layer);
        m_rows.resize(std::max(m_rows.size(), layer + 1));
        m_rows[layer].push_back(index);
        m_slots.push_back(std::move(slot));
        return index;
    }

    void makeSlots()
    {
        for (std::size_t node = 0; node < m_nodes.size(); ++node)
            addSlot({m_nodes[node].width, m_layers[node], false, {}, {}, 0});
        m_ways.resize(m_edges.size());
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge)
        {
            if (isLoop(edge))
                continue;
            std::vector<std::size_t> &way = m_ways[edge];
            way.push_back(tail(edge));
            for (int layer = m_layers[tail(edge)] + 1; layer < m_layers[head(edge)]; ++layer)
                way.push_back(addSlot({0, layer, true, {}, {}, 0}));
            way.push_back(head(edge));
            for (std::size_t i = 1; i < way.size(); ++i)
            {
                m_slots[way[i - 1]].right.push_back(way[i]);
                m_slots[way[i]].left.push_back(way[i - 1]);
            }
        }
    }

    // Order

    void numberRows()
    {
        m_position.resize(m_slots.size());
        for (std::vector<std::size_t> const &row : m_rows)
            for (std::size_t i = 0; i < row.size(); ++i)
                m_position[row[i]] = i;
    }

    /// Sorts a row by the middle of the neighbours on one side. One without neighbours there keeps its place.
    void sortRow(std::vector<std::size_t> &row, std::vector<std::size_t> Slot::*side)
    {
        std::vector<std::pair<double, std::size_t>> keys;
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            std::vector<std::size_t> const &near = m_slots[row[i]].*side;
            double sum = 0;
            for (std::size_t const slot : near)
                sum += (static_cast<double>(m_position[slot]) + 0.5) / static_cast<double>(rowOf(slot).size());
            double const kept = (static_cast<double>(i) + 0.5) / static_cast<double>(row.size());
            keys.emplace_back(near.empty() ? kept : sum / static_cast<double>(near.size()), row[i]);
        }
        std::stable_sort(keys.begin(), keys.end(), [](auto const &a, auto const &b) { return a.first < b.first; });
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            row[i] = keys[i].second;
            m_position[row[i]] = i;
        }
    }

    std::vector<std::size_t> const &rowOf(std::size_t slot) const
    {
        return m_rows[static_cast<std::size_t>(m_slots[slot].layer)];
    }

    /// Pairs of arrows between neighbouring layers that cross.
    std::uint64_t crossings() const
    {
        std::uint64_t sum = 0;
        for (std::size_t layer = 0; layer + 1 < m_rows.size(); ++layer)
        {
            // Counts, in the order of the left ends, how many right ends so far lie below: a tree of sums over the right row.
            std::size_t const size = m_rows[layer + 1].size();
            std::vector<std::uint64_t> tree(size + 1, 0);
            std::uint64_t all = 0;
            for (std::size_t const from : m_rows[layer])
            {
                std::vector<std::size_t> ends;
                for (std::size_t const to : m_slots[from].right)
                    ends.push_back(m_position[to]);
                for (std::size_t const end : ends)
                {
                    std::uint64_t upTo = 0;
                    for (std::size_t i = end + 1; i > 0; i &= i - 1)
                        upTo += tree[i];
                    sum += all - upTo;
                }
                for (std::size_t const end : ends)
                {
                    ++all;
                    for (std::size_t i = end + 1; i <= size; i += i & (~i + 1))
                        ++tree[i];
                }
            }
        }
        return sum;
    }

    void order()
    {
        numberRows();
        // First sort by the left neighbours even if more arrows cross: boxes with the same origin get together.
        for (std::size_t layer = 1; layer < m_rows.size(); ++layer)
            sortRow(m_rows[layer], &Slot::left);
        std::vector<std::vector<std::size_t>> best = m_rows;
        std::uint64_t fewest = crossings();
        for (int sweep = 0; sweep < kOrderSweeps && fewest > 0; ++sweep)
        {
            for (std::size_t i = 1; i < m_rows.size(); ++i)
            {
                if (sweep % 2 == 0)
                    sortRow(m_rows[m_rows.size() - 1 - i], &Slot::right);
                else
                    sortRow(m_rows[i], &Slot::left);
            }
            if (std::uint64_t const now = crossings(); now < fewest)
            {
                fewest = now;
                best = m_rows;
            }
        }
        m_rows = std::move(best);
        numberRows();
    }

    // Places

    double distance(Slot const &above, Slot const &below) const
    {
        if (above.passes && below.passes)
            return m_measures.lane;
        return above.passes || below.passes ? (m_measures.row + m_measures.lane) / 2 : m_measures.row;
    }

    /// Finds the positions in a row nearest to the wanted ones that keep order and distances: neighbours that would
    /// overlap form a block, which moves to the mean of the wanted positions.
    void settle(std::vector<std::size_t> const &row, std::vector<double> const &wanted)
    {
        struct Block
        {
            double sum;
            double count;
            std::size_t first;
        };
        std::vector<double> offset(row.size(), 0);
        for (std::size_t i = 1; i < row.size(); ++i)
            offset[i] = offset[i - 1] + distance(m_slots[row[i - 1]], m_slots[row[i]]);
        std::vector<Block> blocks;
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            blocks.push_back({wanted[i] - offset[i], 1, i});
            while (blocks.size() > 1)
            {
                Block const last = blocks.back();
                Block &before = blocks[blocks.size() - 2];
                if (before.sum / before.count <= last.sum / last.count)
                    break;
                before.sum += last.sum;
                before.count += last.count;
                blocks.pop_back();
            }
        }
        for (std::size_t block = 0; block < blocks.size(); ++block)
        {
            std::size_t const end = block + 1 < blocks.size() ? blocks[block + 1].first : row.size();
            for (std::size_t i = blocks[block].first; i < end; ++i)
                m_slots[row[i]].y = blocks[block].sum / blocks[block].count + offset[i];
        }
    }

    void place()
    {
        for (std::vector<std::size_t> const &row : m_rows)
        {
            double y = 0;
            for (std::size_t i = 0; i < row.size(); ++i)
            {
                y += i == 0 ? 0 : distance(m_slots[row[i - 1]], m_slots[row[i]]);
                m_slots[row[i]].y = y;
            }
        }
        for (int sweep = 0; sweep < kPlaceSweeps; ++sweep)
        {
            for (std::size_t i = 0; i < m_rows.size(); ++i)
            {
                std::vector<std::size_t> const &row = m_rows[sweep % 2 == 0 ? i : m_rows.size() - 1 - i];
                std::vector<double> wanted;
                wanted.reserve(row.size());
                for (std::size_t const slot : row)
                    wanted.push_back(middleOfNeighbours(m_slots[slot]));
                settle(row, wanted);
            }
        }
    }

    double middleOfNeighbours(Slot const &slot) const
    {
        double sum = 0;
        for (std::size_t const near : slot.left)
            sum += m_slots[near].y;
        for (std::size_t const near : slot.right)
            sum += m_slots[near].y;
        std::size_t const count = slot.left.size() + slot.right.size();
        return count == 0 ? slot.y : sum / static_cast<double>(count);
    }

    // Drawing

    Layout drawn()
    {
        Layout layout;
        double top = 0;
        double bottom = 0;
        for (std::size_t i = 0; i < m_slots.size(); ++i)
        {
            top = i == 0 ? m_slots[i].y : std::min(top, m_slots[i].y);
            bottom = i == 0 ? m_slots[i].y : std::max(bottom, m_slots[i].y);
        }
        double const shift = m_measures.margin + m_measures.row / 2 - top;
        std::vector<double> starts;
        std::vector<double> widths;
        double x = m_measures.margin;
        for (std::vector<std::size_t> const &row : m_rows)
        {
            double widest = 0;
            for (std::size_t const slot : row)
                widest = std::max(widest, m_slots[slot].width);
            // An empty layer has no width.
            bool const isUsed = !row.empty();
            starts.push_back(x);
            widths.push_back(widest);
            x += isUsed ? widest + m_measures.gap : 0;
        }
        layout.width = m_rows.empty() ? 0 : x - m_measures.gap + m_measures.margin;
        layout.height = m_slots.empty() ? 0 : bottom + shift + m_measures.row / 2 + m_measures.margin;

        auto const start = [&](std::size_t slot) { return starts[static_cast<std::size_t>(m_slots[slot].layer)]; };
        auto const widest = [&](std::size_t slot) { return widths[static_cast<std::size_t>(m_slots[slot].layer)]; };
        for (std::size_t node = 0; node < m_nodes.size(); ++node)
            layout.nodes.push_back({start(node), m_slots[node].y + shift});
        for (std::size_t edge = 0; edge < m_edges.size(); ++edge)
        {
            std::vector<std::size_t> const &way = m_ways[edge];
            std::vector<LayoutPoint> points;
            for (std::size_t i = 0; i < way.size(); ++i)
            {
                double const y = m_slots[way[i]].y + shift;
                if (i > 0)
                    points.push_back({start(way[i]), y});
                if (i == 0)
                    points.push_back({start(way[i]) + m_slots[way[i]].width, y});
                else if (i + 1 < way.size()) // straight on across the layer
                    points.push_back({start(way[i]) + widest(way[i]), y});
            }
            if (m_turned[edge])
                std::reverse(points.begin(), points.end());
            layout.edges.push_back(std::move(points));
        }
        return layout;
    }

    std::vector<LayoutNode> const &m_nodes;
    std::vector<LayoutEdge> const &m_edges;
    LayoutMeasures const m_measures;
    std::vector<bool> m_turned;
    std::vector<std::size_t> m_finished;
    std::vector<int> m_layers;
    std::vector<Slot> m_slots; ///< the boxes first, in the order of the list
    std::vector<std::vector<std::size_t>> m_rows;
    std::vector<std::vector<std::size_t>> m_ways; ///< the slots of each arrow from left to right
    std::vector<std::size_t> m_position;
};

} // namespace

Layout layered(std::vector<LayoutNode> const &nodes, std::vector<LayoutEdge> const &edges, LayoutMeasures const &measures)
{
    return Layouter(nodes, edges, measures).layout();
}

} // namespace okt
