#include "Tools/Tarsel/Chain/Palettes.h"

#include "Conf/PixFmtDescription.h"
#include "Host/EffectStep.h"
#include "Proc/Settings/Format.h"
#include "Tools/Tarsel/Chain/ClearPalettes.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Formats that hold as many colors as eyes tell apart have this depth at least.
constexpr int s_trueDepth = 8;

bool IsTrueColor(Conf::PixFmt format) {
    auto const& description = Conf::PixFmtDescription::Find(format);
    bool const isGray = format == Conf::PixFmt::GRAY8;
    return format != Conf::PixFmt::PAL8 && !isGray && description.GetDepth() >= s_trueDepth;
}

} // namespace

bool HoldsPalettes(Media::RunOptions const& options) {
    std::vector<Conf::PixFmt> const formats = Media::FindVideoFormats(options);
    return formats.empty() || std::ranges::find(formats, Conf::PixFmt::PAL8) != formats.end();
}

bool HoldsOnlyPalettes(Media::RunOptions const& options) {
    std::vector<Conf::PixFmt> const formats = Media::FindVideoFormats(options);
    return !formats.empty() && HoldsPalettes(options) && std::ranges::none_of(formats, IsTrueColor);
}

VideoStep MakePaletteStep(Effects const& effects, std::string const& settings, bool keepsClear) {
    auto const losses = std::make_shared<std::atomic<bool>>(false); // of all that work side by side
    auto const make = [=, factory = effects.factory] {
        auto const parse = [&](std::string const& text) {
            return Host::MakeVideoEffect(
                *factory, Host::ParseEffectStep(Proc::SettingsPixelFormatConverter::CLASS_ID + ' ' + text));
        };
        SP<Proc::IOneInputEffectVideo> effect = parse("formats=pal8 " + settings);
        auto const* const own =
            dynamic_cast<Proc::SettingsPixelFormatConverter const*>(&effect->GetSettingsBase());
        if (!keepsClear || own == nullptr)
            return effect;
        Proc::SettingsPixelFormatConverter fewer(*own);
        fewer.colors = std::min(fewer.colors, s_mostBesideClear);
        auto reduced = parse("formats=pal8");
        reduced->SetSettings(fewer);
        return MakeClearPalettes(std::move(effect), std::move(reduced), parse("formats=rgba"), losses);
    };
    return {make(), "making palettes", make};
}

std::vector<std::string> DescribePalettes(VideoStep const& step) {
    return DescribeClearPalettes(*step.effect);
}

} // namespace Tarsel::Tools
