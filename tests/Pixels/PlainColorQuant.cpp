#include "Pixels/PlainColorQuant.h"

#include <cmath>
#include <cstdlib>
#include <deque>
#include <utility>

namespace Tarsel::Proc::Plain {
namespace {

struct Node {
    std::uint64_t sums[4] = {}; // Averages at the end.
    std::uint32_t count = 0;
    std::size_t heapIndex = 0; // 0 outside the heap
    unsigned kidCount = 0;
    unsigned kidIndex = 0;
    unsigned depth = 0;
    Node* kids[8] = {};
    Node* parent = nullptr;
};

bool IsBefore(Node const& a, Node const& b) {
    if (a.kidCount != b.kidCount)
        return a.kidCount < b.kidCount;
    return (a.count >> a.depth) < (b.count >> b.depth);
}

class Heap {
public:
    std::size_t Count() const { return m_nodes.size(); }
    Node& At(std::size_t position) { return *m_nodes[position]; }

    void Add(Node& node) {
        if (node.heapIndex == 0) {
            node.heapIndex = m_nodes.size();
            m_nodes.push_back(&node);
        }
        Down(node);
        Up(node);
    }

    Node& Pop() {
        Node& top = *m_nodes[1];
        m_nodes[1] = m_nodes.back();
        m_nodes[1]->heapIndex = 1;
        m_nodes.pop_back();
        if (m_nodes.size() > 1)
            Down(*m_nodes[1]);
        return top;
    }

private:
    void Swap(std::size_t a, std::size_t b) {
        std::swap(m_nodes[a], m_nodes[b]);
        m_nodes[a]->heapIndex = a;
        m_nodes[b]->heapIndex = b;
    }

    void Up(Node& node) {
        while (node.heapIndex > 1 && IsBefore(node, *m_nodes[node.heapIndex / 2]))
            Swap(node.heapIndex, node.heapIndex / 2);
    }

    void Down(Node& node) {
        for (std::size_t child = 2 * node.heapIndex; child < m_nodes.size(); child = 2 * node.heapIndex) {
            if (child + 1 < m_nodes.size() && IsBefore(*m_nodes[child + 1], *m_nodes[child]))
                ++child;
            if (!IsBefore(*m_nodes[child], node))
                return;
            Swap(node.heapIndex, child);
        }
    }

    std::vector<Node*> m_nodes{nullptr}; // The first place stays empty.
};

unsigned ChildIndex(std::uint8_t const* pixel, unsigned depth) {
    unsigned const mask = 256u >> depth;
    return ((pixel[1] & mask) != 0 ? 4u : 0u) + ((pixel[0] & mask) != 0 ? 2u : 0u) +
           ((pixel[2] & mask) != 0 ? 1u : 0u);
}

void Flatten(std::uint8_t* pixel, Conf::PixColor background) {
    std::uint8_t const behind[3] = {background.red, background.green, background.blue};
    int const alpha = pixel[3];
    for (int i = 0; i < 3; ++i)
        pixel[i] = static_cast<std::uint8_t>(
            std::trunc(((255 - alpha) * behind[i] + pixel[i] * alpha) / 255.0 + 0.5));
}

/// The node on the pixel's way that has none further on; the first is the root.
Node& Find(std::deque<Node>& nodes, std::uint8_t const* pixel) {
    Node* node = &nodes.front();
    while (node->depth < 7 && node->kids[ChildIndex(pixel, node->depth + 1)] != nullptr)
        node = node->kids[ChildIndex(pixel, node->depth + 1)];
    return *node;
}

Node& Insert(std::deque<Node>& nodes, std::uint8_t const* pixel) {
    Node* node = &Find(nodes, pixel);
    while (node->depth < 7) {
        Node& kid = nodes.emplace_back();
        kid.parent = node;
        kid.depth = node->depth + 1;
        kid.kidIndex = ChildIndex(pixel, kid.depth);
        ++node->kidCount;
        node = node->kids[kid.kidIndex] = &kid;
    }
    for (int i = 0; i < 4; ++i)
        node->sums[i] += pixel[i];
    ++node->count;
    return *node;
}

Node& Fold(Node& node) {
    Node& parent = *node.parent;
    for (int i = 0; i < 4; ++i)
        parent.sums[i] += node.sums[i];
    parent.count += node.count;
    --parent.kidCount;
    parent.kids[node.kidIndex] = nullptr;
    return parent;
}

Node const& Nearest(Heap& heap, int const* color) {
    Node const* nearest = nullptr;
    int best = 100000000;
    for (std::size_t i = 1; i < heap.Count(); ++i) {
        Node const& node = heap.At(i);
        int const distance = 3 * std::abs(static_cast<int>(node.sums[0]) - color[0]) +
                             5 * std::abs(static_cast<int>(node.sums[1]) - color[1]) +
                             2 * std::abs(static_cast<int>(node.sums[2]) - color[2]);
        if (distance < best) {
            nearest = &node;
            best = distance;
        }
    }
    return *nearest;
}

void Diffuse(Quantized& result, std::size_t width, Heap& heap) {
    std::vector<std::int32_t> work(result.pixels.begin(), result.pixels.end());
    for (std::int32_t& value : work)
        value *= 16;
    for (std::size_t n = 0; n < work.size() / 4; ++n) {
        std::size_t const x = n % width;
        std::int32_t* const at = &work[4 * n];
        int values[4];
        for (int i = 0; i < 4; ++i)
            values[i] = at[i] <= -16 ? 0 : at[i] >= 4096 ? 255 : at[i] / 16;
        Node const& node = Nearest(heap, values);
        result.indices.push_back(static_cast<std::uint8_t>(node.heapIndex));
        for (int i = 0; i < 4; ++i) {
            int const error = values[i] - static_cast<int>(node.sums[i]);
            if (x + 1 < width)
                at[4 + i] += 8 * error;
            if (n + width >= work.size() / 4)
                continue;
            std::int32_t* const below = at + 4 * width;
            below[i] += 5 * error;
            if (x + 1 < width)
                below[4 + i] += 2 * error;
            if (x > 0)
                below[i - 4] += error;
        }
    }
}

} // namespace

Quantized Quantize(std::vector<std::uint8_t> pixels, std::size_t width, unsigned colors, bool dither,
                   Conf::PixColor background) {
    std::deque<Node> nodes(1);
    Heap heap;
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        Flatten(&pixels[i], background);
        heap.Add(Insert(nodes, &pixels[i]));
    }
    while (heap.Count() > colors + 1)
        heap.Add(Fold(heap.Pop()));

    Quantized result{std::move(pixels), {}, {0, 0, 0, 255}};
    for (std::size_t at = 1; at < heap.Count(); ++at) {
        Node& node = heap.At(at);
        for (std::uint64_t& sum : node.sums)
            sum = static_cast<std::uint64_t>(std::trunc(static_cast<double>(sum) / node.count + 0.5));
        for (int i = 0; i < 4; ++i)
            result.palette.push_back(i == 3 ? 255 : static_cast<std::uint8_t>(node.sums[i]));
    }

    if (dither)
        Diffuse(result, width, heap);
    else
        for (std::size_t i = 0; i < result.pixels.size(); i += 4)
            result.indices.push_back(static_cast<std::uint8_t>(Find(nodes, &result.pixels[i]).heapIndex));
    return result;
}

} // namespace Tarsel::Proc::Plain
