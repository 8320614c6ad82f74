#include "Tools/Tarsel/Catalog/Catalog.h"

#include <fmt/format.h>

#include <initializer_list>

namespace Tarsel::Tools {
namespace {

struct KeptProperty {
    Proc::Keeps Proc::EffectTraits::*trait;
    char const* name;
    bool ofPicturesAlone;
};

constexpr KeptProperty s_keptProperties[]{
    {&Proc::EffectTraits::alpha, "alpha", true},
    {&Proc::EffectTraits::depth, "bit depth above 8", true},
    {&Proc::EffectTraits::range, "the color range (full or limited)", true},
    {&Proc::EffectTraits::size, "size", false},
};

/// "may change alpha, size" for the properties that are kept so; "" for none.
std::string DescribeKept(Proc::EffectTraits const& traits, bool isPicture, Proc::Keeps keeps,
                         std::string_view lead) {
    std::string names;
    for (KeptProperty const& property : s_keptProperties)
        if ((isPicture || !property.ofPicturesAlone) && traits.*property.trait == keeps)
            names += (names.empty() ? "" : ", ") + std::string(property.name);
    return names.empty() ? names : fmt::format("{} {}", lead, names);
}

std::string DescribeReach(Proc::EffectTraits const& traits) {
    constexpr std::int32_t without = Proc::EffectTraits::s_withoutEnd;
    return traits.looksBack == without || traits.looksAhead == without
               ? "depends on neighboring frames"
               : fmt::format("depends on {} frame{} before and {} after", traits.looksBack,
                             traits.looksBack == 1 ? "" : "s", traits.looksAhead);
}

} // namespace

std::vector<std::string> DescribeFacts(CatalogEntry const& entry) {
    std::vector<std::string> facts;
    if (entry.kind == Host::EffectKind::TwoInputVideo)
        facts.emplace_back("takes its second frames from reference=FILE, a video or an image");
    if (!entry.traits)
        return facts;
    Proc::EffectTraits const& traits = *entry.traits;
    bool const isPicture =
        entry.kind == Host::EffectKind::Video || entry.kind == Host::EffectKind::TwoInputVideo;
    auto const add = [&](bool applies, std::string fact) {
        if (applies && !fact.empty())
            facts.push_back(std::move(fact));
    };
    add(traits.takes != Proc::Takes::AnyFormat, fmt::format("needs {}", GetName(traits.takes)));
    add(traits.evenSize, "needs even widths and heights");
    add(traits.roundsToChroma, "rounds sizes and positions to whole chroma samples");
    add(true, DescribeKept(traits, isPicture, Proc::Keeps::Sometimes, "may change"));
    add(true, DescribeKept(traits, isPicture, Proc::Keeps::Never, "does not keep"));
    add(!traits.frameIndependent, isPicture ? DescribeReach(traits) : "depends on earlier audio");
    add(traits.delayFrames > 0, fmt::format("delays output by up to {} frame{}", traits.delayFrames,
                                            traits.delayFrames == 1 ? "" : "s"));
    add(traits.delayTime > 0,
        fmt::format("delays output by up to {} ms", static_cast<double>(traits.delayTime) / 1000));
    add(traits.framesPerFrame != 1,
        fmt::format("outputs up to {} frames for each input frame", traits.framesPerFrame));
    add(traits.tail, "continues after the end of the input");
    return facts;
}

} // namespace Tarsel::Tools
