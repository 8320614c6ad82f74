#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"

#include "Conf/FrameInfo.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Pixels/ColorReplace.h"
#include "Proc/Effects/Lumenta/Pixels/ErrorDiffuse.h"
#include "Proc/Effects/Lumenta/Pixels/FlattenRow.h"
#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/OctTree.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <string>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

/// Pixels from which on tables of colours fill up.
constexpr std::size_t LARGE_PICTURE = std::size_t{1} << 18;

/// An index is a byte, and 0 is nobody's.
constexpr int MAX_COLOURS = 255;

[[noreturn]] void Refuse(std::string const& text) {
    Core::Throw<FilterException>({"Proc/Effects/Lumenta/Pixels/ColorQuant",
                                  "static bool Tarsel::Proc::ColorQuant::Process(AVFrame &, AVFrame &, const "
                                  "Conf::FrameInfo &, int, int, Conf::PixColor)"},
                                 text);
}

/// Frames without a size of their own are taken at the caller's word.
void CheckFrame(AVFrame const& frame, char const* name, int planes, Conf::FrameInfo const& size) {
    bool const isSized = frame.width > 0 && frame.height > 0;
    if (isSized && (static_cast<std::uint32_t>(frame.width) < size.width ||
                    static_cast<std::uint32_t>(frame.height) < size.height))
        Refuse(fmt::format("Cannot quantise {}x{} pixels: the {} frame has {}x{}", size.width, size.height,
                           name, frame.width, frame.height));
    for (int plane = 0; plane < planes; ++plane)
        if (frame.data[plane] == nullptr)
            Refuse(fmt::format("Cannot quantise: the {} frame has no plane {}", name, plane));
}

std::uint64_t Average(std::uint64_t sum, std::uint32_t count) noexcept {
    return static_cast<std::uint64_t>(static_cast<double>(sum) / count + 0.5);
}

/// Turns the sums of the heap's nodes into averages, and these into the palette.
void WritePalette(node_heap const& heap, std::uint8_t* palette) noexcept {
    auto const write = [palette](std::size_t index, auto red, auto green, auto blue) {
        std::array const entry{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                               static_cast<std::uint8_t>(blue), std::uint8_t{255}};
        std::memcpy(palette + index * entry.size(), entry.data(), entry.size());
    };
    write(0, 0, 0, 0);
    for (std::uint32_t i = 1; i < heap.count; ++i) {
        oct_node_t& node = *heap.slots[i].node;
        node.r = Average(node.r, node.count);
        node.g = Average(node.g, node.count);
        node.b = Average(node.b, node.count);
        write(i, node.r, node.g, node.b);
    }
}

} // namespace

bool ColorQuant::Process(AVFrame& in, AVFrame& out, Conf::FrameInfo const& size, int colours, int dither,
                         Conf::PixColor background) {
    if (colours < 1 || colours > MAX_COLOURS)
        Refuse(fmt::format("Cannot quantise to {} colours: 1 to {} can be had", colours, MAX_COLOURS));
    CheckFrame(in, "input", 1, size);
    CheckFrame(out, "output", 2, size);
    MutablePlane const pixels{in.data[0], in.linesize[0]};
    MutablePlane const indices{out.data[0], out.linesize[0]};
    PlaneView const flatPixels{in.data[0], in.linesize[0]};

    OctTree tree(std::size_t{size.width} * size.height >= LARGE_PICTURE ? TableUse::Dense : TableUse::Sparse);
    node_heap heap;
    for (std::size_t y = 0; y < size.height; ++y) {
        FlattenRow(pixels.Row(y), size.width, background);
        tree.AddRow(heap, pixels.Row(y), size.width);
    }
    tree.Settle();
    while (heap.count > static_cast<std::uint32_t>(colours) + 1)
        heap_add(heap, node_fold(*pop_heap(heap)));
    WritePalette(heap, out.data[1]);
    if (heap.count == 0)
        return true;
    if (dither != 0)
        error_diffuse(flatPixels, indices, size.width, size.height, heap);
    else
        color_replace(tree, flatPixels, indices, size.width, size.height);
    return true;
}

} // namespace Tarsel::Proc
