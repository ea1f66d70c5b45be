// SPDX-License-Identifier: MIT
#include <oktrebar/circles.h>

#include <algorithm>

namespace okt
{

namespace
{

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
// A crooked file could make the search for all circles take the square of its size.
constexpr std::size_t kMostSteps = 10'000'000;

using Edges = std::vector<std::vector<std::size_t>>;

/// The numbers of the sets of nodes that all lead to each other, by Tarjan. Its stack is no recursion, as chains may be long.
class Components
{
public:
    explicit Components(Edges const &edges)
        : of(edges.size(), kNone), m_edges(edges), m_found(edges.size(), kNone), m_lowest(edges.size(), 0)
    {
        for (std::size_t node = 0; node < edges.size(); ++node)
            if (m_found[node] == kNone)
                visit(node);
    }

    std::vector<std::size_t> of;

private:
    struct Step
    {
        std::size_t node;
        std::size_t next;
    };

    void open(std::size_t node)
    {
        m_found[node] = m_lowest[node] = m_count++;
        m_open.push_back(node);
        m_path.push_back({node, 0});
    }

    void visit(std::size_t start)
    {
        open(start);
        while (!m_path.empty())
        {
            std::size_t const node = m_path.back().node;
            if (m_path.back().next < m_edges[node].size())
            {
                std::size_t const next = m_edges[node][m_path.back().next++];
                if (m_found[next] == kNone)
                    open(next);
                else if (of[next] == kNone)
                    m_lowest[node] = std::min(m_lowest[node], m_found[next]);
                continue;
            }
            m_path.pop_back();
            if (!m_path.empty())
                m_lowest[m_path.back().node] = std::min(m_lowest[m_path.back().node], m_lowest[node]);
            if (m_lowest[node] == m_found[node])
                close(node);
        }
    }

    void close(std::size_t first)
    {
        for (std::size_t node = kNone; node != first; m_open.pop_back())
        {
            node = m_open.back();
            of[node] = m_components;
        }
        ++m_components;
    }

    Edges const &m_edges;
    std::vector<std::size_t> m_found;
    std::vector<std::size_t> m_lowest;
    std::vector<std::size_t> m_open;
    std::vector<Step> m_path;
    std::size_t m_count = 0;
    std::size_t m_components = 0;
};

} // namespace

std::vector<std::vector<std::size_t>> circlesIn(Edges const &edges)
{
    Components const components(edges);
    std::vector<std::vector<std::size_t>> circles;
    std::vector<bool> isMet(edges.size(), false);
    std::vector<bool> isTold(edges.size(), false); // by component
    std::vector<std::size_t> from(edges.size(), kNone);
    std::size_t steps = 0;
    for (std::size_t start = 0; start < edges.size(); ++start)
    {
        std::size_t const component = components.of[start];
        if (isMet[start] || (steps > kMostSteps && isTold[component]))
            continue;
        std::vector<std::size_t> reached = {start}; // in the order of their distance
        bool isClosed = false;
        for (std::size_t at = 0; at < reached.size() && !isClosed; ++at)
            for (std::size_t const next : edges[reached[at]])
            {
                ++steps;
                if (components.of[next] != component)
                    continue;
                if (next == start)
                {
                    std::vector<std::size_t> circle;
                    for (std::size_t node = reached[at]; node != start; node = from[node])
                        circle.push_back(node);
                    circle.push_back(start);
                    std::reverse(circle.begin(), circle.end());
                    for (std::size_t const node : circle)
                        isMet[node] = true;
                    circles.push_back(std::move(circle));
                    isTold[component] = isClosed = true;
                    break;
                }
                if (from[next] == kNone)
                {
                    from[next] = reached[at];
                    reached.push_back(next);
                }
            }
        for (std::size_t const node : reached)
            from[node] = kNone;
    }
    return circles;
}

} // namespace okt
