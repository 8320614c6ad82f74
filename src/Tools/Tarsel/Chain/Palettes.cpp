#include "Tools/Tarsel/Chain/Palettes.h"

#include "Conf/PixFmtDescription.h"
#include "Host/EffectStep.h"
#include "Proc/Settings/Format.h"

#include <algorithm>
#include <vector>

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

VideoStep MakePaletteStep(Effects const& effects, std::string const& settings) {
    auto const step =
        Host::ParseEffectStep(Proc::SettingsPixelFormatConverter::CLASS_ID + " formats=pal8 " + settings);
    auto const make = [step, factory = effects.factory] { return Host::MakeVideoEffect(*factory, step); };
    return {make(), "making palettes", make};
}

} // namespace Tarsel::Tools
