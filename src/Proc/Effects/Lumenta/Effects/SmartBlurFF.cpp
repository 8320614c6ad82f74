#include "Proc/Effects/Lumenta/Effects/SmartBlurFF.h"

#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <cstdint>
#include <iomanip>

extern "C" {
#include <libavfilter/version.h>
}

namespace Tarsel::Proc {
namespace {

// Full range stays with gray alone: "smartblur" knows no "j" formats. FFmpeg 7 blurs alpha, earlier ones drop
// it.
constexpr EffectTraits s_smartBlurTraits{.summary = "blurs while keeping edges, or sharpens",
                                         .alpha =
                                             LIBAVFILTER_VERSION_MAJOR > 8 ? Keeps::Sometimes : Keeps::Never,
                                         .depth = Keeps::Never,
                                         .range = Keeps::Sometimes};

/// A linear map of whole numbers. Numbers outside the input range go on beyond the output range, where the
/// filter refuses them: 64 bits hold all of them.
template <class Out>
struct RangeMap {
    std::int64_t inFirst;
    std::int64_t inLast;
    Out outFirst;
    Out outLast;

    Out operator()(std::int64_t value) const {
        return outFirst +
               (outLast - outFirst) * static_cast<Out>(value - inFirst) / static_cast<Out>(inLast - inFirst);
    }
};

constexpr RangeMap<double> s_radius{1, 100, 0.1, 5.0};
constexpr RangeMap<std::int64_t> s_threshold{-100, 100, -30, 30};
constexpr RangeMap<double> s_strength{-100, 100, -1.0, 1.0};

} // namespace

void SmartBlurFF::SetSettingsImpl() {
    std::int64_t const luma = std::int64_t{m_settings.lumaStrength} - m_settings.lumaStrengthOffset;
    std::int64_t const chroma = std::int64_t{m_settings.chromaStrength} - m_settings.chromaStrengthOffset;
    std::ostringstream text = MakeOptionStream();
    text << std::setprecision(2) << "smartblur"
         << "=lr=" << s_radius(m_settings.lumaRadius) << ":cr=" << s_radius(m_settings.chromaRadius)
         << ":lt=" << s_threshold(m_settings.lumaThreshold)
         << ":ct=" << s_threshold(m_settings.chromaThreshold) << ":ls=" << s_strength(luma)
         << ":cs=" << s_strength(chroma);
    m_description = text.str();
}

EffectTraits const& SmartBlurFF::GetTraits() const noexcept {
    return s_smartBlurTraits;
}

template <>
struct EffectOver<SettingsEffectSmartBlur> {
    using Interface = IOneInputEffectVideo;
    using Type = SmartBlurFF;
};
template EffectCreator GetCreator<SettingsEffectSmartBlur>();

} // namespace Tarsel::Proc
