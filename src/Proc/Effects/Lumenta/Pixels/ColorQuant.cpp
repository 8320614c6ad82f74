#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"

#include "Conf/FrameInfo.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Pixels/ColorReplace.h"
#include "Proc/Effects/Lumenta/Pixels/ErrorDiffuse.h"
#include "Proc/Effects/Lumenta/Pixels/NodeHeap.h"
#include "Proc/Effects/Lumenta/Pixels/OctTree.h"
#include "Proc/Effects/Lumenta/Pixels/PixelRows.h"
#include "Proc/Effects/Lumenta/Pixels/Plane.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <cstdint>
#include <fmt/format.h>
#include <span>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

/// An index is a byte, and 0 is nobody's.
constexpr int s_maxColors = 255;

[[noreturn]] void Refuse(std::string const& text) {
    Core::Throw<FilterException>(text);
}

void CheckPlane(AVFrame const& frame, char const* name, int plane) {
    if (frame.data[plane] == nullptr)
        Refuse(fmt::format("Cannot quantize: the {} frame has no plane {}", name, plane));
}

/// A frame without a size of its own is taken at the caller's word.
void CheckPixels(AVFrame const& frame, char const* name, Conf::FrameInfo const& size) {
    bool const isSized = frame.width > 0 && frame.height > 0;
    if (isSized && (static_cast<std::uint32_t>(frame.width) < size.width ||
                    static_cast<std::uint32_t>(frame.height) < size.height))
        Refuse(fmt::format("Cannot quantize {}x{} pixels: the {} frame has {}x{}", size.width, size.height,
                           name, frame.width, frame.height));
    CheckPlane(frame, name, 0);
}

/// The colors of the nodes in the heap, in its order.
std::vector<Rgb> MakePalette(OctTree const& tree, node_heap const& heap) {
    std::vector<Rgb> palette;
    for (std::uint32_t place = 1; place < heap.count; ++place)
        palette.push_back(GetAverage(tree, heap.slots[place].Node()));
    return palette;
}

/// Entry 0 is black; the palette's colors follow.
void WritePalette(std::span<Rgb const> palette, std::uint8_t* entry) noexcept {
    auto const write = [&entry](Rgb color) {
        *entry++ = color.red;
        *entry++ = color.green;
        *entry++ = color.blue;
        *entry++ = 255;
    };
    write({0, 0, 0});
    for (Rgb const color : palette)
        write(color);
}

} // namespace

bool ColorQuant::Process(AVFrame& in, AVFrame& out, Conf::FrameInfo const& size, int colors, int dither,
                         Conf::PixColor background) {
    if (colors < 1 || colors > s_maxColors)
        Refuse(fmt::format("Cannot quantize to {} colors: the range is 1 to {}", colors, s_maxColors));
    CheckPlane(out, "output", 1);
    if (size.width == 0 || size.height == 0) {
        WritePalette({}, out.data[1]);
        return true;
    }
    CheckPixels(in, "input", size);
    CheckPixels(out, "output", size);
    MutablePlane const pixels{in.data[0], in.linesize[0]};
    PlaneView const flatPixels{in.data[0], in.linesize[0]};
    MutablePlane const indices{out.data[0], out.linesize[0]};

    OctTree tree;
    node_heap heap;
    std::vector<ColorCode> codes(size.width);
    for (std::size_t y = 0; y < size.height; ++y) {
        FlattenRow(pixels.Row(y), size.width, background);
        MakeColorCodes(pixels.Row(y), size.width, codes.data());
        AddPixels(tree, heap, codes);
    }
    FoldTree(tree, heap, static_cast<std::uint32_t>(colors));
    std::vector<Rgb> const palette = MakePalette(tree, heap);
    WritePalette(palette, out.data[1]);
    if (dither == 0) {
        color_replace(tree, heap, flatPixels, indices, size.width, size.height);
        return true;
    }
    node_free(tree);
    error_diffuse(flatPixels, indices, size.width, size.height, palette);
    return true;
}

} // namespace Tarsel::Proc
