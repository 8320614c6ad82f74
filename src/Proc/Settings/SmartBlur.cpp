#include "Proc/Settings/SmartBlur.h"

#include "Proc/Settings/FieldTable.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

namespace {

using SmartBlur = SettingsEffectSmartBlur;

/// 1 to 100 stand for 0.1 to 5 pixels; 20 is about 1.
constexpr double s_radiusScale = 4.9 / 99;
constexpr double s_radiusOffset = 0.1 - s_radiusScale;
/// Why the chroma options reach lower than ours.
constexpr std::string_view s_unset = "the filter's lowest values stand for those of luma";

template <auto Member>
consteval Field MakeAmount(std::string_view key, std::string_view help, FilterOption option = {}) {
    return MakeField<Member>(
        {.key = key, .initial = 0, .minimum = -100, .maximum = 100, .help = help, .option = option});
}

constexpr std::array s_smartBlurFields{
    MakeField<&SmartBlur::lumaRadius>({
        .key = "luma-radius",
        .initial = 20,
        .minimum = 1,
        .maximum = 100,
        .unit = "20ths of a pixel",
        .help = "radius of the luma blur, cut to two digits: from 20 in steps of 2",
        .option = {"smartblur", "luma_radius", s_radiusScale, s_radiusOffset},
    }),
    MakeField<&SmartBlur::chromaRadius>({
        .key = "chroma-radius",
        .initial = 20,
        .minimum = 1,
        .maximum = 100,
        .unit = "20ths of a pixel",
        .help = "radius of the chroma blur, cut as luma-radius",
        .option = {.filter = "smartblur",
                   .option = "chroma_radius",
                   .scale = s_radiusScale,
                   .offset = s_radiusOffset,
                   .narrower = s_unset},
    }),
    MakeAmount<&SmartBlur::lumaStrength>("luma-strength", "blurs luma, or sharpens it below 0",
                                         {"smartblur", "luma_strength", 0.01}),
    MakeAmount<&SmartBlur::chromaStrength>(
        "chroma-strength", "blurs chroma, or sharpens it below 0",
        {.filter = "smartblur", .option = "chroma_strength", .scale = 0.01, .narrower = s_unset}),
    MakeAmount<&SmartBlur::lumaStrengthOffset>("luma-strength-offset", "subtracted from luma-strength"),
    MakeAmount<&SmartBlur::chromaStrengthOffset>("chroma-strength-offset", "subtracted from chroma-strength"),
    MakeAmount<&SmartBlur::lumaThreshold>(
        "luma-threshold", "above 0: flat areas only, below 0: edges only, 0: all of luma; in steps of 3 or 4",
        {"smartblur", "luma_threshold", 0.3}),
    MakeAmount<&SmartBlur::chromaThreshold>(
        "chroma-threshold", "the same for chroma",
        {.filter = "smartblur", .option = "chroma_threshold", .scale = 0.3, .narrower = s_unset}),
};
/// Beyond these ends the filter refuses luma, and takes the strength of luma for chroma below them.
std::string FindConflict(std::string_view plane, std::int32_t strength, std::int32_t offset) {
    std::int64_t const difference = std::int64_t{strength} - offset;
    if (difference >= -100 && difference <= 100)
        return {};
    return fmt::format("give {0}-strength minus {0}-strength-offset -100 to 100: {1} minus {2} is {3}", plane,
                       strength, offset, difference);
}

std::string FindConflict(SmartBlur const& blur) {
    std::string const luma = FindConflict("luma", blur.lumaStrength, blur.lumaStrengthOffset);
    return luma.empty() ? FindConflict("chroma", blur.chromaStrength, blur.chromaStrengthOffset) : luma;
}
constexpr SettingsTable s_smartBlur =
    MakeTable("smart-blur", s_smartBlurFields, "blur sharpen sharpness unsharp soften skin smooth edges",
              FindConflictOf<SmartBlur, FindConflict>);

} // namespace

std::string const SettingsEffectSmartBlur::CLASS_ID{s_smartBlur.classId};

SettingsTable const& SettingsEffectSmartBlur::GetTable() noexcept {
    return s_smartBlur;
}

bool SettingsEffectSmartBlur::IsEmpty() const {
    return lumaStrength == lumaStrengthOffset && chromaStrength == chromaStrengthOffset;
}

} // namespace Tarsel::Proc
