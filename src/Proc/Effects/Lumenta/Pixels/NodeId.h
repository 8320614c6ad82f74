#pragma once

#include <cstdint>

namespace Tarsel::Proc {

/// Levels of the octree below its root: the least significant bit of a component makes no difference.
constexpr unsigned s_treeDepth = 7;
/// Twigs are the nodes that bear leaves.
constexpr unsigned s_twigDepth = s_treeDepth - 1;

constexpr std::uint32_t s_maxTwigs = 1u << (3 * s_twigDepth);
/// Of depth 0 to 5: 1 + 8 + 64 + ...
constexpr std::uint32_t s_maxUpperNodes = (s_maxTwigs - 1) / 7;

/// Names a node of the octree. 0 is no node; the upper nodes come next, from the root on in the order in
/// which they were made, then the twigs in their order, then the leaves, eight to a twig, in the order of
/// their colors. So tables by node are filled from the start of each kind on, and no farther than the
/// picture has colors.
using NodeId = std::uint32_t;

constexpr NodeId s_rootId = 1;
constexpr NodeId s_firstTwig = s_maxUpperNodes + 1;
constexpr NodeId s_firstLeaf = s_firstTwig + s_maxTwigs;
constexpr NodeId s_nodeIdEnd = s_firstLeaf + 8 * s_maxTwigs;

/// Twigs are numbered from 1 on.
constexpr NodeId TwigId(std::uint32_t twig) noexcept {
    return s_firstTwig + (twig - 1);
}
constexpr NodeId LeafId(std::uint32_t twig, unsigned child) noexcept {
    return s_firstLeaf + 8 * (twig - 1) + child;
}

constexpr bool IsLeaf(NodeId node) noexcept {
    return node >= s_firstLeaf;
}

/// The number of the twig that bears a leaf.
constexpr std::uint32_t TwigOfLeaf(NodeId leaf) noexcept {
    return (leaf - s_firstLeaf) / 8 + 1;
}
constexpr unsigned ChildOfTwig(NodeId leaf) noexcept {
    return (leaf - s_firstLeaf) % 8;
}

} // namespace Tarsel::Proc
