#include "Proc/Settings/Denoise.h"

#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/SettingsProperty.h"

#include <fmt/format.h>

#include <algorithm>

namespace Tarsel::Proc {

namespace {

constexpr double s_maxInt32 = std::numeric_limits<std::int32_t>::max();

using Deinterlace = SettingsDeinterlace;
constexpr std::array s_frameModes{
    FieldWord("send_frame", Deinterlace::FrameMode::Frame, "a frame for each frame"),
    FieldWord("send_field", Deinterlace::FrameMode::Field, "a frame for each field: doubles the rate"),
    FieldWord("send_frame_nospatial", Deinterlace::FrameMode::FrameNoSpatial,
              "a frame for each frame, without the spatial check"),
    FieldWord("send_field_nospatial", Deinterlace::FrameMode::FieldNoSpatial,
              "a frame for each field, without the spatial check"),
};
constexpr std::array s_deinterlaceModes{
    FieldWord("all", Deinterlace::DeinterlaceMode::All, "every frame"),
    FieldWord("interlaced", Deinterlace::DeinterlaceMode::Interlaced, "frames marked as interlaced"),
};
constexpr std::array s_deinterlaceFields{
    MakeField<&Deinterlace::frameMode>({
        .key = "mode",
        .initial = Deinterlace::FrameMode::Frame,
        .help = "which frames come out",
        .words = s_frameModes,
        .option = {"yadif", "mode"},
    }),
    MakeField<&Deinterlace::deinterlaceMode>({
        .key = "deint",
        .initial = Deinterlace::DeinterlaceMode::All,
        .help = "which frames to deinterlace",
        .words = s_deinterlaceModes,
        .option = {"yadif", "deint"},
    }),
};
constexpr SettingsTable s_deinterlace = MakeTable(
    "deinterlace", s_deinterlaceFields, "interlace interlaced fields comb combing bob yadif progressive");

using ChromaLuma = SettingsEffectDenoiseChromaLuma;
constexpr std::array s_chromaLumaFields{
    MakeField<&ChromaLuma::lumaSpatial>({
        .key = "luma-spatial",
        .initial = 0.0,
        .maximum = s_unlimited,
        .help = "spatial luma strength; 0 takes 4",
        .option = {"hqdn3d", "luma_spatial"},
    }),
    MakeField<&ChromaLuma::chromaSpatial>({
        .key = "chroma-spatial",
        .initial = 0.0,
        .maximum = s_unlimited,
        .help = "spatial chroma strength; 0 takes 3/4 of luma-spatial",
        .option = {"hqdn3d", "chroma_spatial"},
    }),
    MakeField<&ChromaLuma::lumaTemporal>({
        .key = "luma-temporal",
        .initial = 0.0,
        .maximum = s_unlimited,
        .help = "temporal luma strength; 0 takes 6/4 of luma-spatial",
        .option = {"hqdn3d", "luma_tmp"},
    }),
    MakeField<&ChromaLuma::chromaTemporal>({
        .key = "chroma-temporal",
        .initial = 0.0,
        .maximum = s_unlimited,
        .help = "temporal chroma strength; 0 takes luma-temporal * chroma-spatial / luma-spatial",
        .option = {"hqdn3d", "chroma_tmp"},
    }),
};
constexpr SettingsTable s_chromaLuma =
    MakeTable("denoise-chroma-luma", s_chromaLumaFields, "noise denoise grain clean reduce hqdn3d temporal");

using DenoiseDCT = SettingsEffectDenoiseDCT;
constexpr std::array s_blockSizes{
    FieldWord("default", 0, "8x8 pixels"),
    FieldWord("8x8", 3, "8x8 pixels"),
    FieldWord("16x16", 4, "16x16 pixels"),
};
constexpr std::array s_dctFields{
    MakeField<&DenoiseDCT::sigma>({
        .key = "sigma",
        .initial = 0.0,
        .maximum = 999,
        .help = "standard deviation of the noise in 8-bit steps; 0 switches the effect off",
        .option = {"dctdnoiz", "sigma"},
    }),
    MakeField<&DenoiseDCT::overlap>({
        .key = "overlap",
        .initial = 0,
        .minimum = -1,
        .maximum = 15,
        .unit = "pixels",
        .help = "overlap of the blocks, at most 7 with blocks of 8x8; 0 and -1 take the most there is",
        .option = {"dctdnoiz", "overlap"},
    }),
    MakeField<&DenoiseDCT::blockSizeExponent>({
        .key = "block-size",
        .initial = 0,
        .help = "size of the blocks",
        .words = s_blockSizes,
        .option = {"dctdnoiz", "n"},
        .kind = FieldKind::Word,
    }),
};
std::string FindConflict(DenoiseDCT const& dct) {
    int const block = 1 << (dct.blockSizeExponent == 0 ? 3 : dct.blockSizeExponent);
    if (dct.overlap < block)
        return {};
    return fmt::format("give overlap -1 to {} with blocks of {}x{}: overlap={} is as large as the block",
                       block - 1, block, block, dct.overlap);
}
constexpr SettingsTable s_dct = MakeTable("denoise-dct", s_dctFields, "noise denoise clean reduce",
                                          FindConflictOf<DenoiseDCT, FindConflict>);

using Wavelet = SettingsEffectDenoiseOvercompleteWavelet;
constexpr std::array s_waveletFields{
    MakeField<&Wavelet::depth>({
        .key = "depth",
        .initial = 8,
        .minimum = 8,
        .maximum = 16,
        .help = "more denoises coarser structures, and takes longer",
        .option = {"owdenoise", "depth"},
    }),
    MakeField<&Wavelet::lumaStrength>({
        .key = "luma",
        .initial = 0.0,
        .maximum = 1000,
        .help = "luma strength; 0 takes 1, or switches the effect off if chroma is 0 too",
        .option = {"owdenoise", "luma_strength"},
    }),
    MakeField<&Wavelet::chromaStrength>({
        .key = "chroma",
        .initial = 0.0,
        .maximum = 1000,
        .help = "chroma strength; 0 takes 1, or switches the effect off if luma is 0 too",
        .option = {"owdenoise", "chroma_strength"},
    }),
};
constexpr SettingsTable s_wavelet =
    MakeTable("denoise-wavelet", s_waveletFields, "noise denoise clean reduce owdenoise");

using Noise = SettingsEffectNoiseVideo;
constexpr std::array s_noiseMethods{
    FieldWord("default", Noise::Method::Default, "the filter's own: Gaussian"),
    FieldWord("gaussian", Noise::Method::Gaussian, "Gaussian noise"),
    FieldWord("uniform", Noise::Method::Uniform, "uniform noise"),
};
constexpr std::array s_noiseFields{
    MakeField<&Noise::method>({
        .key = "method",
        .initial = Noise::Method::Default,
        .help = "distribution of the noise",
        .words = s_noiseMethods,
    }),
    MakeField<&Noise::seed>({
        .key = "seed",
        .initial = 0,
        .minimum = -1,
        .maximum = s_maxInt32,
        .help = "seed of the random numbers; 0 and -1 take the filter's own",
        .option = {"noise", "all_seed"},
    }),
    MakeField<&Noise::strength>({
        .key = "strength",
        .initial = 0,
        .maximum = 100,
        .help = "strength of the noise",
        .option = {"noise", "alls"},
    }),
};
constexpr SettingsTable s_noise = MakeTable("noise", s_noiseFields, "grain film old dither static");

using RemoveGrain = SettingsEffectRemoveGrain;
constexpr std::array s_removeGrainFields{
    MakeElement<&RemoveGrain::modes, 0>({
        .key = "m0",
        .initial = 0,
        .maximum = 24,
        .help = "mode for the first plane; 0 leaves it as it is",
        .option = {"removegrain", "m0"},
    }),
    MakeElement<&RemoveGrain::modes, 1>({
        .key = "m1",
        .initial = 0,
        .maximum = 24,
        .help = "mode for the second plane",
        .option = {"removegrain", "m1"},
    }),
    MakeElement<&RemoveGrain::modes, 2>({
        .key = "m2",
        .initial = 0,
        .maximum = 24,
        .help = "mode for the third plane",
        .option = {"removegrain", "m2"},
    }),
    MakeElement<&RemoveGrain::modes, 3>({
        .key = "m3",
        .initial = 0,
        .maximum = 24,
        .help = "mode for the fourth plane",
        .option = {"removegrain", "m3"},
    }),
};
constexpr SettingsTable s_removeGrain =
    MakeTable("remove-grain", s_removeGrainFields, "noise denoise median clean despeckle");

} // namespace

std::string const SettingsDeinterlace::CLASS_ID{s_deinterlace.classId};

SettingsTable const& SettingsDeinterlace::GetTable() noexcept {
    return s_deinterlace;
}

bool SettingsDeinterlace::IsEmpty() const {
    return false;
}

SettingsDeinterlace Property2SettingsDeinterlace(Core::Property const& property) {
    return Property2Settings<SettingsDeinterlace>(property);
}

std::string const SettingsEffectDenoiseChromaLuma::CLASS_ID{s_chromaLuma.classId};

SettingsTable const& SettingsEffectDenoiseChromaLuma::GetTable() noexcept {
    return s_chromaLuma;
}

bool SettingsEffectDenoiseChromaLuma::IsEmpty() const {
    return false;
}

SettingsEffectDenoiseChromaLuma Property2SettingsChromaLuma(Core::Property const& property) {
    return Property2Settings<SettingsEffectDenoiseChromaLuma>(property);
}

std::string const SettingsEffectDenoiseDCT::CLASS_ID{s_dct.classId};

SettingsTable const& SettingsEffectDenoiseDCT::GetTable() noexcept {
    return s_dct;
}

bool SettingsEffectDenoiseDCT::IsEmpty() const {
    return sigma == 0.0;
}

std::string const SettingsEffectDenoiseOvercompleteWavelet::CLASS_ID{s_wavelet.classId};

SettingsTable const& SettingsEffectDenoiseOvercompleteWavelet::GetTable() noexcept {
    return s_wavelet;
}

bool SettingsEffectDenoiseOvercompleteWavelet::IsEmpty() const {
    return lumaStrength == 0.0 && chromaStrength == 0.0;
}

std::string const SettingsEffectNoiseVideo::CLASS_ID{s_noise.classId};

SettingsTable const& SettingsEffectNoiseVideo::GetTable() noexcept {
    return s_noise;
}

bool SettingsEffectNoiseVideo::IsEmpty() const {
    return strength == 0;
}

std::string const SettingsEffectRemoveGrain::CLASS_ID{s_removeGrain.classId};

SettingsTable const& SettingsEffectRemoveGrain::GetTable() noexcept {
    return s_removeGrain;
}

bool SettingsEffectRemoveGrain::IsEmpty() const {
    return std::ranges::all_of(modes, [](std::int32_t mode) { return mode == 0; });
}

} // namespace Tarsel::Proc
