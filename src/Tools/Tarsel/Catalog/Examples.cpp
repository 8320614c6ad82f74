#include "Tools/Tarsel/Catalog/Examples.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace Tarsel::Tools {
namespace {

/// Settings that show what an effect is for.
struct ExampleRow {
    std::string_view effect;
    std::array<std::string_view, 2> settings;
};

constexpr ExampleRow s_rows[]{
    {"flip", {"horizontal", "horizontal vertical"}},
    {"transpose", {"step=1", "step=3"}},
    {"display-matrix", {"matrix=6", "matrix=3"}},
    {"deshake", {"", "block-size=16"}},
    {"stabilizer", {"detect=1 shakiness=8 path=motions.trf", "detect=0 smoothing=30 path=motions.trf"}},
    {"pixel-format", {"formats=gray", "formats=yuv444p accurate"}},
    {"denoise-chroma-luma", {"luma-spatial=4 luma-temporal=6", "chroma-spatial=3 chroma-temporal=4.5"}},
    {"denoise-dct", {"sigma=4", "sigma=12 block-size=8x8"}},
    {"denoise-wavelet", {"luma=4 chroma=4", "luma=10 depth=10"}},
    {"edge-detect", {"mode=wires", "mode=colormix high=0.4"}},
    {"emboss", {"", "x=2 y=2 keep-color"}},
    {"balance-chroma", {"red-shadows=20 blue-shadows=-10", "blue-highlights=15"}},
    {"blur", {"sigma=2", "sigma=8 steps=3"}},
    {"color-channel-mixer",
     {"rr=0 rb=1 br=1 bb=0", "rr=0.3 rg=0.6 rb=0.1 gr=0.3 gg=0.6 gb=0.1 br=0.3 bg=0.6 bb=0.1"}},
    {"negate", {"", "channels=red"}},
    {"noise", {"strength=15", "strength=30 method=uniform"}},
    {"border", {"left=20 right=20", "type=width top-fraction=0.1 bottom-fraction=0.1 color=white"}},
    {"posterize", {"colors=16", "colors=4 palette"}},
    {"remove-grain", {"m0=2", "m0=4 m1=4 m2=4"}},
    {"midequalizer", {"reference=second.mp4", "reference=second.mp4 planes=1"}},
    {"deinterlace", {"", "mode=send_field"}},
    {"resize", {"width=320", "width=1280 height=720 fit=pad"}},
    {"resize-complex", {"width=320", "width=640 height=640 fit=crop"}},
    {"resample", {"rate=48000", "layout=stereo format=flt"}},
    {"rotate", {"angle=5", "angle=-2 mode=crop bilinear"}},
    {"color-balance", {"brightness=10 contrast=15", "saturation=-100"}},
    {"smart-blur", {"luma-strength=50", "luma-strength=-50"}},
    {"equalizer", {"bands=100/6", "bands=100/3|1000/-2.5"}},
    {"echo", {"echos=500/0.5", "echos=500/0.5|250/0.3"}},
    {"chorus", {"voices=50/0.4/0.25/2", "voices=50/0.4/0.25/2|60/0.3/0.4/2.3"}},
    {"reverb", {"", "amount=0.8"}},
    {"gate", {"threshold=0.05", "threshold=0.1 ratio=9000 range=0"}},
    {"noise-gate", {"threshold=-40", "threshold=-50 reduction=0.1"}},
    {"compressor", {"ratio=4", "threshold=0.05 ratio=8 makeup=2"}},
    {"distortion", {"amount=0.3", "mode=soft-clip gain=0.8"}},
    {"flanger", {"", "depth=5 speed=0.2"}},
    {"vibrato", {"", "frequency=7 depth=0.3"}},
};

} // namespace

std::vector<std::string> GetExamples(CatalogEntry const& entry) {
    auto const* const row = std::ranges::find(s_rows, entry.classId, &ExampleRow::effect);
    if (row == std::end(s_rows))
        return {};
    bool const isAudio =
        entry.kind == Host::EffectKind::Audio || entry.kind == Host::EffectKind::TwoInputAudio;
    std::vector<std::string> commands;
    for (std::string_view const settings : row->settings)
        commands.push_back(fmt::format("tarsel run {} -e '{}{}{}'",
                                       isAudio ? "in.wav out.wav" : "in.mp4 out.mp4", entry.classId,
                                       settings.empty() ? "" : " ", settings));
    return commands;
}

} // namespace Tarsel::Tools
