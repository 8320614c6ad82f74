#include "Tools/Tarsel/Catalog/Examples.h"

#include "Proc/Settings/Stabilize.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace Tarsel::Tools {
namespace {

/// Settings that show what an effect is for, each with another result; "" where there are fewer.
struct ExampleRow {
    std::string_view effect;
    std::array<std::string_view, 3> settings;
};

constexpr ExampleRow s_rows[]{
    {"flip", {"horizontal", "vertical", "horizontal vertical"}},
    {"transpose", {"step=1", "step=3", "step=2"}},
    {"display-matrix", {"matrix=2", "matrix=6", "matrix=8"}},
    {"deshake", {"block-size=8", "block-size=32"}},
    {"stabilizer", {"smoothing=10", "smoothing=10 crop=black zoom=-10"}},
    {"pixel-format", {"formats=gray", "formats=pal8 colors=15 dither", "formats=pal8 colors=15"}},
    {"denoise-chroma-luma", {"luma-spatial=4", "luma-spatial=12", "luma-spatial=1 luma-temporal=20"}},
    {"denoise-dct", {"sigma=8", "sigma=20"}},
    {"denoise-wavelet", {"luma=4 chroma=4", "luma=20 chroma=20"}},
    {"edge-detect", {"mode=wires", "mode=colormix", "mode=wires low=0.02 high=0.06"}},
    {"emboss", {"x=1 y=1", "x=3 y=3", "x=2 y=2 keep-color"}},
    {"balance-chroma", {"red-midtones=40 blue-midtones=-40", "blue-shadows=60 red-highlights=40"}},
    {"blur", {"sigma=2", "sigma=8", "sigma=0.01 sigma-v=12"}},
    {"color-channel-mixer",
     {"rr=0.393 rg=0.769 rb=0.189 gr=0.349 gg=0.686 gb=0.168 br=0.272 bg=0.534 bb=0.131",
      "rr=0 rb=1 br=1 bb=0"}},
    {"negate", {"channels=red+green+blue", "channels=blue"}},
    {"noise", {"strength=20", "strength=60 method=uniform"}},
    {"border",
     {"left=16 right=16 top=16 bottom=16 color=white", "type=shorter left-fraction=0.1 right-fraction=0.1"}},
    {"posterize", {"colors=4", "colors=16", "colors=64"}},
    {"remove-grain", {"m0=2 m1=2 m2=2", "m0=11 m1=11 m2=11", "m0=20 m1=20 m2=20"}},
    {"midequalizer", {"planes=15", "planes=1"}},
    {"deinterlace", {"mode=send_frame", "mode=send_field"}},
    {"resize",
     {"width=160", "width=240 height=240 fit=pad background=gray", "width=240 height=240 fit=crop"}},
    {"resize-complex", {"width=320 height=80", "width=200 height=240 fit=pad"}},
    {"rotate", {"angle=15", "angle=15 mode=crop", "angle=30 mode=pad fill=gray"}},
    {"color-balance", {"saturation=-100", "contrast=30 gamma=20", "hue=60"}},
    {"smart-blur",
     {"luma-radius=60 luma-strength=100 luma-threshold=80 chroma-radius=60 chroma-strength=100",
      "luma-radius=40 luma-strength=-80"}},
    {"resample", {"rate=8000", "format=u8", "layout=mono"}},
    {"equalizer", {"bands=100/12|5000/-12", "bands=1000/-24", "bands=3000/15"}},
    {"echo", {"echos=300/0.5", "echos=120/0.6|240/0.4|360/0.3"}},
    {"chorus", {"voices=50/0.4/0.25/2", "voices=45/0.6/1.5/6|60/0.5/0.9/8"}},
    {"reverb", {"amount=0.4", "amount=1"}},
    {"gate", {"threshold=0.1 ratio=4", "threshold=0.3 ratio=20 release=50"}},
    {"noise-gate", {"threshold=-40 reduction=0.5", "threshold=-20 reduction=1 decay=0.05"}},
    {"compressor", {"threshold=0.1 ratio=4 makeup=2", "threshold=0.03 ratio=20 makeup=4 attack=1"}},
    {"distortion", {"mode=tanh amount=0.8", "mode=wrap amount=0.5", "mode=soft-clip gain=0.6 tone=0.2"}},
    {"flanger", {"depth=4 regen=50", "depth=10 regen=80 speed=2"}},
    {"vibrato", {"frequency=5 depth=0.5", "frequency=9 depth=1"}},
};

} // namespace

bool WorksInTwoPasses(std::string_view classId) noexcept {
    return classId == Proc::SettingsEffectStabilizer::CLASS_ID;
}

std::span<std::string_view const> GetExampleSettings(std::string_view classId) noexcept {
    auto const* const row = std::ranges::find(s_rows, classId, &ExampleRow::effect);
    if (row == std::end(s_rows))
        return {};
    auto const count = std::ranges::find(row->settings, "") - row->settings.begin();
    return std::span(row->settings).first(static_cast<std::size_t>(count));
}

std::string MakeExample(CatalogEntry const& entry, std::string_view settings) {
    bool const isAudio =
        entry.kind == Host::EffectKind::Audio || entry.kind == Host::EffectKind::TwoInputAudio;
    bool const isPaired =
        entry.kind == Host::EffectKind::TwoInputVideo || entry.kind == Host::EffectKind::TwoInputAudio;
    if (WorksInTwoPasses(entry.classId))
        return fmt::format("tarsel stabilize in.mp4 out.mp4 {}", settings);
    return fmt::format("tarsel run {} -e '{}{}{}{}'", isAudio ? "in.wav out.wav" : "in.mp4 out.mp4",
                       entry.classId, isPaired ? " reference=second.mp4" : "", settings.empty() ? "" : " ",
                       settings);
}

std::vector<std::string> GetExamples(CatalogEntry const& entry) {
    constexpr std::size_t most = 2;
    std::vector<std::string> commands;
    for (std::string_view const settings : GetExampleSettings(entry.classId))
        if (commands.size() < most)
            commands.push_back(MakeExample(entry, settings));
    return commands;
}

} // namespace Tarsel::Tools
