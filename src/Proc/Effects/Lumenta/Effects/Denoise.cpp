#include "Proc/Settings/Denoise.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Proc/Effects/Lumenta/Graph/FrameSize.h"
#include "Proc/Effects/Lumenta/Kernels/WaveletDenoise.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <utility>

/// Noise and grain taken out or put in, and interlaced frames made whole.
namespace Tarsel::Proc {
namespace {

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
            {s_videoEffectFile,
             "static std::string EffectActions<Tarsel::Proc::SettingsDeinterlace>::GetFFString("
             "const SettingsDeinterlace &, const FrameInfo &) "
             "[Settings = Tarsel::Proc::SettingsDeinterlace]"},
            "Unsupported deinterlace settings",
            TagDetail(fmt::format("{} {}, not 0 to {}", name, number, mapping.back().first)));
    return row->second;
}

} // namespace

template <>
struct EffectActions<SettingsDeinterlace> {
    using SettingsType = SettingsDeinterlace;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{.summary = "converts interlaced frames to progressive ones",
                                           .depth = Keeps::Sometimes,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false,
                                           .delayFrames = 1,
                                           .framesPerFrame = 2,
                                           .slices = true,
                                           .looksBack = 1,
                                           .looksAhead = 1};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "yadif=mode=" << Map(s_frameModeMapping, settings.frameMode, "frame mode")
             << ":deint=" << Map(s_deinterlaceModeMapping, settings.deinterlaceMode, "deinterlace mode");
        return text.str();
    }

    /// With more than 8 bits the slices of the filter race, and the result changes from run to run.
    static bool CanSlice(SettingsType const&, Conf::PixFmt format) {
        return Conf::PixFmtDescription::Find(format).GetDepth() <= 8;
    }
};

template <>
struct EffectActions<SettingsEffectDenoiseChromaLuma> {
    using SettingsType = SettingsEffectDenoiseChromaLuma;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{.summary =
                                               "denoises in space and time, luma and chroma separately",
                                           .alpha = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .frameIndependent = false,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "hqdn3d=" << settings.lumaSpatial << ':' << settings.chromaSpatial << ':'
             << settings.lumaTemporal << ':' << settings.chromaTemporal;
        return text.str();
    }

    /// The filter looks samples up in tables as large as their depth says, and reads past the end with
    /// others.
    static void CheckFrame(SettingsType const&, IDataVideo const& data) {
        RequireSamplesWithinDepth(data, SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template <>
struct EffectActions<SettingsEffectDenoiseDCT> {
    using SettingsType = SettingsEffectDenoiseDCT;
    static constexpr EffectTraits s_traits{.summary = "denoises by thresholding block DCTs",
                                           .alpha = Keeps::Never,
                                           .depth = Keeps::Never,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "dctdnoiz=" << settings.sigma;
        if (settings.blockSizeExponent != 0)
            text << ":n=" << settings.blockSizeExponent;
        if (settings.overlap != 0)
            text << ":overlap=" << settings.overlap;
        return text.str();
    }

    /// Where blocks overlap by less than they could, the filter's slices end at other blocks than the picture
    /// does as a whole.
    static bool CanSlice(SettingsType const& settings, Conf::PixFmt) {
        std::int32_t const most = settings.blockSizeExponent == 4 ? 15 : 7;
        return settings.overlap <= 0 || settings.overlap == most;
    }

    /// The filter writes past the end of frames that its blocks do not fill: of those narrower than a block,
    /// and of planar RGB where blocks end short of the right or lower edge.
    static void CheckFormat(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const& info) {
        Core::Site const site = Core::Site::Here();
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
};

template <>
struct EffectActions<SettingsEffectDenoiseOvercompleteWavelet> {
    using SettingsType = SettingsEffectDenoiseOvercompleteWavelet;
    static constexpr EffectTraits s_traits{
        .summary = "denoises by overcomplete wavelets", .depth = Keeps::Sometimes, .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "owdenoise=" << settings.depth;
        if (settings.lumaStrength != 0.0)
            text << ":ls=" << settings.lumaStrength;
        if (settings.chromaStrength != 0.0)
            text << ":cs=" << settings.chromaStrength;
        return text.str();
    }

    static FastWay MakeFastWay(SettingsType const& settings, Conf::PixFmt format, Conf::FrameInfo const&) {
        constexpr int digits = 6; // a stream's own
        auto const read = [](double strength) {
            return strength != 0.0 ? ReadAsWritten(strength, digits) : 1.0;
        };
        double const luma = read(settings.lumaStrength);
        double const chroma = read(settings.chromaStrength);
        int const depth = settings.depth;
        bool const isLegal =
            8 <= depth && depth <= 16 && 0 <= luma && luma <= 1000 && 0 <= chroma && chroma <= 1000;
        if (!isLegal || !CoversWaveletDenoise(format))
            return {};
        auto const& pixels = Conf::PixFmtDescription::Find(format);
        auto const denoiser = std::make_shared<WaveletDenoiser>();
        bool const isDeep = pixels.GetDepth() > 8;
        int const planes = pixels.IsGray() ? 1 : 3;
        return {format, [=](AVFrame const& from, AVFrame& to) {
                    for (int plane = 0; plane < planes; ++plane) {
                        auto const [source, target, width, height] = GetPlanes(from, to, plane);
                        denoiser->Denoise({source, target, width, height, isDeep}, depth,
                                          plane == 0 ? luma : chroma);
                    }
                }};
    }

    static bool KeepsAlpha(SettingsType const&) { return true; }
};

template <>
struct EffectActions<SettingsEffectNoiseVideo> {
    using SettingsType = SettingsEffectNoiseVideo;
    // Threads are not worth it (1920x1080: 0.20 ms on one, 0.13 ms on two).
    static constexpr EffectTraits s_traits{.summary = "adds film noise", .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "noise=alls=" << settings.strength;
        if (settings.seed >= 1)
            text << ":all_seed=" << settings.seed;
        if (settings.method == SettingsType::Method::Uniform)
            text << ":allf=u";
        return text.str();
    }

    /// The filter gives noise to every plane.
    static bool KeepsAlpha(SettingsType const&) { return true; }
};

template <>
struct EffectActions<SettingsEffectRemoveGrain> {
    using SettingsType = SettingsEffectRemoveGrain;
    static constexpr EffectTraits s_traits{.summary = "removes grain plane by plane",
                                           .alpha = Keeps::Sometimes,
                                           .depth = Keeps::Never,
                                           .range = Keeps::Sometimes,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        std::ostringstream text = MakeClassicStream();
        text << "removegrain=m0=" << settings.GetMode(0) << ":m1=" << settings.GetMode(1)
             << ":m2=" << settings.GetMode(2) << ":m3=" << settings.GetMode(3);
        return text.str();
    }

    /// Unless there is a mode for the fourth plane.
    static bool KeepsAlpha(SettingsType const& settings) { return settings.GetMode(3) == 0; }
    /// The filter writes in front of planes of one column.
    static void CheckFormat(SettingsType const&, Conf::PixFmt format, Conf::FrameInfo const& info) {
        std::uint32_t const pixelsOfAChroma = 1U << Conf::PixFmtDescription::Find(format).GetChromaShiftX();
        RequireFrameSize(format, info, {pixelsOfAChroma + 1, 1}, SettingsType::CLASS_ID, Core::Site::Here());
    }
};

template EffectCreator GetCreator<SettingsDeinterlace>();
template EffectCreator GetCreator<SettingsEffectDenoiseChromaLuma>();
template EffectCreator GetCreator<SettingsEffectDenoiseDCT>();
template EffectCreator GetCreator<SettingsEffectDenoiseOvercompleteWavelet>();
template EffectCreator GetCreator<SettingsEffectNoiseVideo>();
template EffectCreator GetCreator<SettingsEffectRemoveGrain>();

} // namespace Tarsel::Proc
