#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Levels of the octree below its root: the least significant bit of a component makes no difference.
constexpr unsigned TREE_DEPTH = 7;
/// Twigs are the nodes that bear leaves.
constexpr unsigned TWIG_DEPTH = TREE_DEPTH - 1;

constexpr std::uint32_t MAX_TWIGS = 1u << (3 * TWIG_DEPTH);
/// Of depth 0 to 5: 1 + 8 + 64 + ...
constexpr std::uint32_t MAX_UPPER_NODES = (MAX_TWIGS - 1) / 7;

/// Names a node of the octree. 0 is no node; the upper nodes come next, from the root on in the order in
/// which they were made, then the twigs in their order, then the leaves, eight to a twig, in the order of
/// their colours. So tables by node are filled from the start of each kind on, and no farther than the
/// picture has colours.
using NodeId = std::uint32_t;

constexpr NodeId ROOT_ID = 1;
constexpr NodeId FIRST_TWIG = MAX_UPPER_NODES + 1;
constexpr NodeId FIRST_LEAF = FIRST_TWIG + MAX_TWIGS;
constexpr NodeId NODE_ID_END = FIRST_LEAF + 8 * MAX_TWIGS;

/// Twigs are numbered from 1 on.
constexpr NodeId TwigId(std::uint32_t twig) noexcept {
    return FIRST_TWIG + (twig - 1);
}
constexpr NodeId LeafId(std::uint32_t twig, unsigned child) noexcept {
    return FIRST_LEAF + 8 * (twig - 1) + child;
}

constexpr bool IsLeaf(NodeId node) noexcept {
    return node >= FIRST_LEAF;
}

/// The number of the twig that bears a leaf.
constexpr std::uint32_t TwigOfLeaf(NodeId leaf) noexcept {
    return (leaf - FIRST_LEAF) / 8 + 1;
}
constexpr unsigned ChildOfTwig(NodeId leaf) noexcept {
    return (leaf - FIRST_LEAF) % 8;
}

} // namespace Tarsel::Proc
