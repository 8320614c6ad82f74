#include "Proc/Effects/Lumenta/Pixels/OctNode.h"

#include <cstdlib>

namespace Tarsel::Proc {

oct_node_t& node_new(NodePool& pool) {
    if (pool.size == pool.blocks.size() * NodePool::BLOCK_SIZE)
        pool.blocks.emplace_back(NodePool::BLOCK_SIZE);
    return pool[pool.size++];
}

void node_free(NodePool& pool) noexcept {
    pool.blocks.clear();
    pool.size = 0;
}

oct_node_t& node_fold(oct_node_t& node) noexcept {
    if (node.kidCount != 0 || node.parent == nullptr)
        std::abort();
    oct_node_t& parent = *node.parent;
    parent.r += node.r;
    parent.g += node.g;
    parent.b += node.b;
    parent.count += node.count;
    --parent.kidCount;
    return parent;
}

} // namespace Tarsel::Proc
