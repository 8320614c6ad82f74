#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Graph/FrameSize.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Color.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <stdexcept>

namespace Tarsel::Proc {
namespace {

/// In pixels.
struct Sigmas {
    double horizontal;
    double vertical;
};

Sigmas GetSigmas(SettingsEffectBlur const& settings, Conf::FrameInfo const& info) {
    using RelativeMode = SettingsEffectBlur::RelativeMode;
    if (settings.relativeMode == RelativeMode::Absolute)
        return {settings.horizontalSigma, settings.verticalSigma};
    std::uint32_t width = info.width;
    std::uint32_t height = info.height;
    if (settings.relativeMode == RelativeMode::LongerSide)
        width = height = std::max(width, height);
    else if (settings.relativeMode == RelativeMode::ShorterSide)
        width = height = std::min(width, height);
    // The 0.0 makes a negative zero positive.
    return {settings.horizontalFactor * width * settings.horizontalSigma / 100.0 + 0.0,
            settings.verticalFactor * height * settings.verticalSigma / 100.0 + 0.0};
}

} // namespace

/// Gaussian blur, by pixels or by percents of the frame's size.
template <>
struct EffectActions<SettingsEffectBlur> {
    using SettingsType = SettingsEffectBlur;
    static constexpr EffectTraits s_traits{.summary = "blurs frames",
                                           .alpha = Keeps::Sometimes,
                                           .depth = Keeps::Sometimes,
                                           .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const& info) {
        if (settings.algorithm != SettingsType::Algorithm::Gaussian)
            Core::Throw<std::logic_error>(
                {s_videoEffectFile,
                 "static std::string EffectActions<Tarsel::Proc::SettingsEffectBlur>::GetFFString("
                 "const SettingsEffectBlur &, const FrameInfo &) "
                 "[Settings = Tarsel::Proc::SettingsEffectBlur]"},
                "Invalid algorithm for EffectBlur",
                TagDetail(fmt::format("algorithm {}, not 1", static_cast<std::int32_t>(settings.algorithm))));
        std::ostringstream text = MakeOptionStream();
        if (settings.pixelFormat != Conf::PixFmt::None)
            text << "format=" << Conf::GetPixelFormatDescription(settings.pixelFormat).GetName() << "[s];[s]";
        Sigmas const sigmas = GetSigmas(settings, info);
        text << "gblur" << std::setprecision(2) << "=steps=" << settings.steps
             << ":planes=" << settings.planes << ":sigma=" << sigmas.horizontal
             << ":sigmaV=" << sigmas.vertical;
        return text.str();
    }

    /// On planes one pixel wide the filter works on two columns, and writes past the end of its buffer with a
    /// few heights, which hang on the processor. Whether it blurs vertically without a horizontal sigma hangs
    /// on its version.
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info) {
        constexpr std::int32_t chromaPlanes = 0b0110;
        if (settings.planes == 0)
            return; // the filter passes frames on
        bool const converts = settings.pixelFormat != Conf::PixFmt::None;
        auto const& blurred = Conf::PixFmtDescription::Find(converts ? settings.pixelFormat : format);
        int const shift = (settings.planes & chromaPlanes) != 0 ? blurred.GetChromaShiftX() : 0;
        SmallestFrame const smallest{(1U << shift) + 1, 1};
        RequireFrameSize(blurred.GetFormat(), info, smallest, SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template EffectCreator GetCreator<SettingsEffectBlur>();

} // namespace Tarsel::Proc
