#include "Proc/Effects/Lumenta/Video/Denoise.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Graph/FrameSize.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace Tarsel::Proc {
namespace {

using DeinterlaceActions = EffectActions<SettingsDeinterlace>;
using ChromaLumaActions = EffectActions<SettingsEffectDenoiseChromaLuma>;
using DCTActions = EffectActions<SettingsEffectDenoiseDCT>;
using WaveletActions = EffectActions<SettingsEffectDenoiseOvercompleteWavelet>;
using NoiseActions = EffectActions<SettingsEffectNoiseVideo>;
using RemoveGrainActions = EffectActions<SettingsEffectRemoveGrain>;

constexpr char const* s_file = "Proc/Effects/Lumenta/EffectFafloplalVideo";

/// Settings to yadif's own numbers.
using Mapping = std::pair<std::int32_t, std::int32_t>;
constexpr std::array s_frameModeMapping{Mapping{0, 0}, Mapping{1, 1}, Mapping{2, 2}, Mapping{3, 3}};
constexpr std::array s_deinterlaceModeMapping{Mapping{0, 0}, Mapping{1, 1}};

template <class Table, class Mode>
std::int32_t Map(Table const& mapping, Mode mode, char const* name) {
    auto const number = static_cast<std::int64_t>(mode);
    auto const row = std::ranges::find(mapping, number, &Mapping::first);
    if (row == mapping.end())
        Core::Throw<std::logic_error>(
            {s_file, "static std::string EffectActions<Tarsel::Proc::SettingsDeinterlace>::GetFFString("
                     "const SettingsDeinterlace &, const FrameInfo &) "
                     "[Settings = Tarsel::Proc::SettingsDeinterlace]"},
            "Unsupported deinterlace settings",
            TagDetail(fmt::format("{} {}, not 0 to {}", name, number, mapping.back().first)));
    return row->second;
}

} // namespace

std::string DeinterlaceActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "yadif=mode=" << Map(s_frameModeMapping, settings.frameMode, "frame mode")
         << ":deint=" << Map(s_deinterlaceModeMapping, settings.deinterlaceMode, "deinterlace mode");
    return text.str();
}

bool DeinterlaceActions::CanSlice(SettingsType const&, Conf::PixFmt format) {
    return Conf::PixFmtDescription::Find(format).GetDepth() <= 8;
}

SettingsDeinterlace DeinterlaceActions::FromProperty(Core::Property const& property) {
    return Property2SettingsDeinterlace(property);
}

std::string ChromaLumaActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "hqdn3d=" << settings.lumaSpatial << ':' << settings.chromaSpatial << ':' << settings.lumaTemporal
         << ':' << settings.chromaTemporal;
    return text.str();
}

SettingsEffectDenoiseChromaLuma ChromaLumaActions::FromProperty(Core::Property const& property) {
    return Property2SettingsChromaLuma(property);
}

void ChromaLumaActions::CheckFrame(SettingsType const&, IDataVideo const& data) {
    RequireSamplesWithinDepth(
        data, SettingsType::CLASS_ID,
        {s_file, "static void EffectActions<Tarsel::Proc::SettingsEffectDenoiseChromaLuma>::CheckFrame("
                 "const SettingsType &, const IDataVideo &)"});
}

std::string DCTActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "dctdnoiz=" << settings.sigma;
    if (settings.blockSizeExponent != 0)
        text << ":n=" << settings.blockSizeExponent;
    if (settings.overlap != 0)
        text << ":overlap=" << settings.overlap;
    return text.str();
}

bool DCTActions::CanSlice(SettingsType const& settings, Conf::PixFmt) {
    std::int32_t const most = settings.blockSizeExponent == 4 ? 15 : 7;
    return settings.overlap <= 0 || settings.overlap == most;
}

void DCTActions::CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info) {
    Core::Site const site{s_file,
                          "static void EffectActions<Tarsel::Proc::SettingsEffectDenoiseDCT>::CheckFormat("
                          "const SettingsType &, PixFmt, const FrameInfo &)"};
    bool const isLarge = settings.blockSizeExponent == 4;
    std::uint32_t const block = isLarge ? 16 : 8;
    RequireFrameSize(format, info, {block, 1}, SettingsType::CLASS_ID, site);

    // 0 and -1 leave it to the filter, which takes the most there is; what is too much it refuses.
    auto const overlap = static_cast<std::uint32_t>(std::max(settings.overlap, 0));
    std::uint32_t const step = overlap > 0 && overlap < block ? block - overlap : 1;
    auto const isFilled = [&](std::uint32_t size) { return size < block || (size - block) % step == 0; };
    if (format == Conf::PixFmt::GBRP && (!isFilled(info.width) || !isFilled(info.height)))
        Core::Throw<EffectException>(
            site,
            fmt::format("{} takes gbrp frames of a width and a height of {} and a multiple of {} pixels, "
                        "not {}x{}",
                        SettingsType::CLASS_ID, block, step, info.width, info.height));
}

std::string WaveletActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "owdenoise=" << settings.depth;
    if (settings.lumaStrength != 0.0)
        text << ":ls=" << settings.lumaStrength;
    if (settings.chromaStrength != 0.0)
        text << ":cs=" << settings.chromaStrength;
    return text.str();
}

std::string NoiseActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "noise=alls=" << settings.strength;
    if (settings.seed >= 1)
        text << ":all_seed=" << settings.seed;
    if (settings.method == SettingsType::Method::Uniform)
        text << ":allf=u";
    return text.str();
}

std::string RemoveGrainActions::GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
    std::ostringstream text = MakeClassicStream();
    text << "removegrain=m0=" << settings.GetMode(0) << ":m1=" << settings.GetMode(1)
         << ":m2=" << settings.GetMode(2) << ":m3=" << settings.GetMode(3);
    return text.str();
}

void RemoveGrainActions::CheckFormat(SettingsType const&, Conf::PixFmt format, Conf::FrameInfo const& info) {
    std::uint32_t const pixelsOfAChroma = 1U << Conf::PixFmtDescription::Find(format).GetChromaShiftX();
    RequireFrameSize(format, info, {pixelsOfAChroma + 1, 1}, SettingsType::CLASS_ID,
                     {s_file,
                      "static void EffectActions<Tarsel::Proc::SettingsEffectRemoveGrain>::CheckFormat("
                      "const SettingsType &, PixFmt, const FrameInfo &)"});
}

SP<IOneInputEffectVideo> CreateEffectDeinterlace(SP<IEffectFactory const> const&,
                                                 SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<DeinterlaceActions>>();
}

SP<IOneInputEffectVideo> CreateEffectDenoiseChromaLuma(SP<IEffectFactory const> const&,
                                                       SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<ChromaLumaActions>>();
}

SP<IOneInputEffectVideo> CreateEffectDenoiseDCT(SP<IEffectFactory const> const&,
                                                SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<DCTActions>>();
}

SP<IOneInputEffectVideo> CreateEffectDenoiseOvercompleteWavelet(SP<IEffectFactory const> const&,
                                                                SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<WaveletActions>>();
}

SP<IOneInputEffectVideo> CreateEffectNoiseVideo(SP<IEffectFactory const> const&,
                                                SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<NoiseActions>>();
}

SP<IOneInputEffectVideo> CreateEffectRemoveGrain(SP<IEffectFactory const> const&,
                                                 SP<IFactoryDataVideo const> const&) {
    return MakeSP<EffectFafloplal<RemoveGrainActions>>();
}

} // namespace Tarsel::Proc
