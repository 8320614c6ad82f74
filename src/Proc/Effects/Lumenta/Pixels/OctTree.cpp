#include "Proc/Effects/Lumenta/Pixels/OctTree.h"

#include <algorithm>
#include <array>

namespace Tarsel::Proc {
namespace {

// A leaf's place in the heap depends on count >> depth, so 128 pixels may pass before the heap has to know of
// them. Until then a cell keeps its sums in the four 16-bit fields of one number: red, green, blue, count.
constexpr std::uint64_t PENDING_LIMIT = std::uint64_t{1} << TREE_DEPTH;
constexpr unsigned GREEN_SHIFT = 16;
constexpr unsigned BLUE_SHIFT = 32;
constexpr unsigned COUNT_SHIFT = 48;
constexpr std::uint64_t FIELD = 0xFFFF;

/// Pixels that are added before the heap is told. No cell may reach the limit twice meanwhile.
constexpr std::size_t CHUNK = PENDING_LIMIT;
static_assert((PENDING_LIMIT - 1 + CHUNK) * 255 <= FIELD);

/// A cell that the heap has to know of: it is new, or has this bit when it has reached the limit.
constexpr std::uint32_t AT_LIMIT = FIRST_LEAF;

void MoveSums(std::uint64_t& pending, oct_node_t& leaf) noexcept {
    leaf.r += pending & FIELD;
    leaf.g += pending >> GREEN_SHIFT & FIELD;
    leaf.b += pending >> BLUE_SHIFT & FIELD;
    pending &= FIELD << COUNT_SHIFT;
}

} // namespace

OctTree::OctTree(TableUse tables)
    : m_indices(std::size_t{2} * FIRST_LEAF, tables), m_pending(CELL_COUNT, tables) {
    node_new(m_nodes).address = ROOT_ADDRESS;
}

void OctTree::AddRow(node_heap& heap, std::uint8_t const* pixels, std::size_t width) {
    for (std::size_t x = 0; x < width; x += CHUNK)
        AddChunk(heap, pixels + 4 * x, std::min(CHUNK, width - x));
}

void OctTree::AddChunk(node_heap& heap, std::uint8_t const* pixels, std::size_t count) {
    // Which pixels the heap has to know of cannot be foreseen, so they are noted without a branch.
    std::array<std::uint32_t, CHUNK> noted;
    std::size_t notedCount = 0;
    for (std::uint8_t const* const end = pixels + 4 * count; pixels != end; pixels += 4) {
        std::uint64_t const red = pixels[0];
        std::uint64_t const green = pixels[1];
        std::uint64_t const blue = pixels[2];
        ColorCode const cell = CellOf(MakeColorCode(pixels[0], pixels[1], pixels[2]));
        std::uint64_t const before = m_pending[cell];
        std::uint64_t const after = before + (std::uint64_t{1} << COUNT_SHIFT | blue << BLUE_SHIFT |
                                              green << GREEN_SHIFT | red);
        m_pending[cell] = after;
        bool const isAtLimit = after >> COUNT_SHIFT == PENDING_LIMIT;
        noted[notedCount] = cell | (isAtLimit ? AT_LIMIT : 0);
        notedCount += before == 0 || isAtLimit ? 1 : 0;
    }
    for (std::size_t i = 0; i < notedCount; ++i)
        __builtin_prefetch(&m_indices[noted[i] | FIRST_LEAF]);
    for (std::size_t i = 0; i < notedCount; ++i) {
        oct_node_t& leaf = node_insert(*this, noted[i] | FIRST_LEAF);
        if ((noted[i] & AT_LIMIT) != 0) {
            std::uint64_t& pending = m_pending[noted[i] & ~AT_LIMIT];
            pending -= PENDING_LIMIT << COUNT_SHIFT;
            leaf.count += PENDING_LIMIT;
            MoveSums(pending, leaf);
        } else if (leaf.heapIndex != 0) {
            continue; // Nothing was pending, but it is not new.
        }
        heap_add(heap, leaf);
    }
}

void OctTree::Settle() noexcept {
    for (std::size_t i = 0; i < m_nodes.size; ++i)
        if (oct_node_t& node = m_nodes[i]; node.depth == TREE_DEPTH) {
            std::uint64_t& pending = m_pending[node.address - FIRST_LEAF];
            node.count += static_cast<std::uint32_t>(pending >> COUNT_SHIFT);
            MoveSums(pending, node);
        }
}

oct_node_t& node_insert(OctTree& tree, OctAddress address) {
    std::uint32_t& index = tree.m_indices[address];
    if (index != 0 || address == ROOT_ADDRESS)
        return tree.m_nodes[index];
    oct_node_t& parent = node_insert(tree, address >> 3);
    auto const next = static_cast<std::uint32_t>(tree.m_nodes.size);
    oct_node_t& node = node_new(tree.m_nodes);
    node.address = address;
    node.depth = static_cast<std::uint8_t>(parent.depth + 1);
    node.parent = &parent;
    ++parent.kidCount;
    index = next;
    return node;
}

} // namespace Tarsel::Proc
