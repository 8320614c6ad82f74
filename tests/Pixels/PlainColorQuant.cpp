#include "Pixels/PlainColorQuant.h"

#include <cmath>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace Tarsel::Proc::Plain {
namespace {

struct Node {
    std::uint64_t sums[4] = {}; // Averages at the end.
    std::uint32_t count = 0;
    std::uint32_t heapIndex = 0;
    unsigned kidCount = 0;
    unsigned kidIndex = 0;
    bool inHeap = false;
    unsigned depth = 0;
    Node* kids[8] = {};
    Node* parent = nullptr;
};

class Pool {
public:
    Node* Take() {
        if (m_left == 0) {
            m_blocks.push_back(std::make_unique<Node[]>(s_block));
            m_left = s_block;
        }
        return &m_blocks.back()[--m_left];
    }

private:
    static constexpr std::size_t s_block = 2048;
    std::vector<std::unique_ptr<Node[]>> m_blocks;
    std::size_t m_left = 0;
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
        if (node.inHeap) {
            Down(node);
            Up(node);
            return;
        }
        node.inHeap = true;
        if (m_nodes.empty())
            m_nodes.push_back(nullptr);
        node.heapIndex = static_cast<std::uint32_t>(m_nodes.size());
        m_nodes.push_back(&node);
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
        m_nodes[a]->heapIndex = static_cast<std::uint32_t>(a);
        m_nodes[b]->heapIndex = static_cast<std::uint32_t>(b);
    }

    void Up(Node& node) {
        while (node.heapIndex > 1 && IsBefore(node, *m_nodes[node.heapIndex / 2]))
            Swap(node.heapIndex, node.heapIndex / 2);
    }

    void Down(Node& node) {
        for (;;) {
            std::size_t child = 2 * std::size_t{node.heapIndex};
            if (child >= m_nodes.size())
                return;
            if (child + 1 < m_nodes.size() && IsBefore(*m_nodes[child + 1], *m_nodes[child]))
                ++child;
            if (!IsBefore(*m_nodes[child], node))
                return;
            Swap(node.heapIndex, child);
        }
    }

    std::vector<Node*> m_nodes; // The first place stays empty.
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

Node& Insert(Pool& pool, Node& root, std::uint8_t const* pixel) {
    Node* node = &root;
    for (unsigned depth = 1; depth <= 7; ++depth) {
        unsigned const index = ChildIndex(pixel, depth);
        if (node->kids[index] == nullptr) {
            Node* const kid = pool.Take();
            kid->parent = node;
            kid->kidIndex = index;
            kid->depth = depth;
            node->kids[index] = kid;
            ++node->kidCount;
        }
        node = node->kids[index];
    }
    for (int i = 0; i < 4; ++i)
        node->sums[i] += pixel[i];
    ++node->count;
    return *node;
}

Node& Fold(Node& node) {
    if (node.kidCount != 0)
        std::abort();
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
            if (distance == 0)
                break;
        }
    }
    return *nearest;
}

void Diffuse(Pictures const& pictures, Heap& heap) {
    std::size_t const width = pictures.width;
    std::vector<std::int32_t> work(width * pictures.height * 4);
    for (std::size_t y = 0; y < pictures.height; ++y)
        for (std::size_t i = 0; i < 4 * width; ++i)
            work[4 * width * y + i] =
                16 * pictures.pixels[static_cast<std::ptrdiff_t>(y) * pictures.pixelStride +
                                     static_cast<std::ptrdiff_t>(i)];
    for (std::size_t y = 0; y < pictures.height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            std::int32_t* const at = &work[4 * (width * y + x)];
            int values[4];
            for (int i = 0; i < 4; ++i)
                values[i] = at[i] <= -16 ? 0 : at[i] >= 4096 ? 255 : at[i] / 16;
            Node const& node = Nearest(heap, values);
            pictures.indices[static_cast<std::ptrdiff_t>(y) * pictures.indexStride +
                             static_cast<std::ptrdiff_t>(x)] = static_cast<std::uint8_t>(node.heapIndex);
            for (int i = 0; i < 4; ++i) {
                int const error = values[i] - static_cast<int>(node.sums[i]);
                if (x + 1 < width)
                    at[4 + i] += 8 * error;
                if (y + 1 == pictures.height)
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

void Replace(Pictures const& pictures, Node const& root) {
    for (std::size_t y = 0; y < pictures.height; ++y)
        for (std::size_t x = 0; x < pictures.width; ++x) {
            std::uint8_t const* const pixel = pictures.pixels +
                                              static_cast<std::ptrdiff_t>(y) * pictures.pixelStride +
                                              static_cast<std::ptrdiff_t>(4 * x);
            Node const* node = &root;
            for (unsigned depth = 1; depth <= 7; ++depth) {
                Node const* const kid = node->kids[ChildIndex(pixel, depth)];
                if (kid == nullptr)
                    break;
                node = kid;
            }
            pictures.indices[static_cast<std::ptrdiff_t>(y) * pictures.indexStride +
                             static_cast<std::ptrdiff_t>(x)] = static_cast<std::uint8_t>(node->heapIndex);
        }
}

} // namespace

void Quantise(Pictures const& pictures, unsigned colours, bool dither, Conf::PixColor background) {
    Pool pool;
    Heap heap;
    Node& root = *pool.Take();
    for (std::size_t y = 0; y < pictures.height; ++y)
        for (std::size_t x = 0; x < pictures.width; ++x) {
            std::uint8_t* const pixel = pictures.pixels +
                                        static_cast<std::ptrdiff_t>(y) * pictures.pixelStride +
                                        static_cast<std::ptrdiff_t>(4 * x);
            Flatten(pixel, background);
            heap.Add(Insert(pool, root, pixel));
        }
    while (heap.Count() > colours + 1)
        heap.Add(Fold(heap.Pop()));

    std::uint8_t* entry = pictures.palette;
    for (int i = 0; i < 4; ++i)
        *entry++ = i == 3 ? 255 : 0;
    for (std::size_t at = 1; at < heap.Count(); ++at) {
        Node& node = heap.At(at);
        for (std::uint64_t& sum : node.sums)
            sum = static_cast<std::uint64_t>(std::trunc(static_cast<double>(sum) / node.count + 0.5));
        for (int i = 0; i < 4; ++i)
            *entry++ = i == 3 ? 255 : static_cast<std::uint8_t>(node.sums[i]);
    }

    if (dither)
        Diffuse(pictures, heap);
    else
        Replace(pictures, root);
}

} // namespace Tarsel::Proc::Plain
