#include "Cases/Families.h"

#include "Proc/Effects/Lumenta/Video/Denoise.h"

namespace Tarsel::Test {
namespace {

EffectCase Deinterlace(Proc::SettingsDeinterlace::FrameMode frame,
                       Proc::SettingsDeinterlace::DeinterlaceMode deinterlace, char const* text) {
    Proc::SettingsDeinterlace settings;
    settings.frameMode = frame;
    settings.deinterlaceMode = deinterlace;
    return {"SettingsDeinterlace", Proc::CreateEffectDeinterlace,
            MakeSettings<Proc::SettingsDeinterlace>(settings), text};
}

EffectCase ChromaLuma(double lumaSpatial, double chromaSpatial, double lumaTemporal, double chromaTemporal,
                      char const* text) {
    Proc::SettingsEffectDenoiseChromaLuma settings;
    settings.lumaSpatial = lumaSpatial;
    settings.chromaSpatial = chromaSpatial;
    settings.lumaTemporal = lumaTemporal;
    settings.chromaTemporal = chromaTemporal;
    return {"SettingsEffectDenoiseChromaLuma", Proc::CreateEffectDenoiseChromaLuma,
            MakeSettings<Proc::SettingsEffectDenoiseChromaLuma>(settings), text};
}

EffectCase DCT(double sigma, std::int32_t overlap, std::int32_t exponent, char const* text) {
    Proc::SettingsEffectDenoiseDCT settings;
    settings.sigma = sigma;
    settings.overlap = overlap;
    settings.blockSizeExponent = exponent;
    return {"SettingsEffectDenoiseDCT",
            Proc::CreateEffectDenoiseDCT,
            MakeSettings<Proc::SettingsEffectDenoiseDCT>(settings),
            text,
            false,
            settings.IsEmpty()};
}

EffectCase Wavelet(std::int32_t depth, double luma, double chroma, char const* text) {
    Proc::SettingsEffectDenoiseOvercompleteWavelet settings;
    settings.depth = depth;
    settings.lumaStrength = luma;
    settings.chromaStrength = chroma;
    return {"SettingsEffectDenoiseOvercompleteWavelet",
            Proc::CreateEffectDenoiseOvercompleteWavelet,
            MakeSettings<Proc::SettingsEffectDenoiseOvercompleteWavelet>(settings),
            text,
            false,
            settings.IsEmpty()};
}

EffectCase Noise(std::int32_t strength, Proc::SettingsEffectNoiseVideo::Method method, std::int32_t seed,
                 char const* text) {
    Proc::SettingsEffectNoiseVideo settings(strength, method);
    settings.seed = seed;
    return {"SettingsEffectNoiseVideo",
            Proc::CreateEffectNoiseVideo,
            MakeSettings<Proc::SettingsEffectNoiseVideo>(settings),
            text,
            false,
            settings.IsEmpty()};
}

EffectCase RemoveGrain(std::array<std::int32_t, 4> const& modes, char const* text) {
    Proc::SettingsEffectRemoveGrain settings;
    settings.modes = modes;
    return {"SettingsEffectRemoveGrain",
            Proc::CreateEffectRemoveGrain,
            MakeSettings<Proc::SettingsEffectRemoveGrain>(settings),
            text,
            false,
            settings.IsEmpty()};
}

} // namespace

std::vector<EffectCase> GetDenoiseCases() {
    using FrameMode = Proc::SettingsDeinterlace::FrameMode;
    using DeinterlaceMode = Proc::SettingsDeinterlace::DeinterlaceMode;
    using Method = Proc::SettingsEffectNoiseVideo::Method;
    return {
        Deinterlace(FrameMode::Frame, DeinterlaceMode::All, "yadif=mode=0:deint=0"),
        Deinterlace(FrameMode::Field, DeinterlaceMode::All, "yadif=mode=1:deint=0"),
        Deinterlace(FrameMode::FrameNoSpatial, DeinterlaceMode::Interlaced, "yadif=mode=2:deint=1"),
        Deinterlace(FrameMode::FieldNoSpatial, DeinterlaceMode::All, "yadif=mode=3:deint=0"),
        ChromaLuma(0, 0, 0, 0, "hqdn3d=0:0:0:0"),
        ChromaLuma(4, 3, 6, 4.5, "hqdn3d=4:3:6:4.5"),
        DCT(0, 0, 0, "dctdnoiz=0"),
        DCT(4.5, 0, 0, "dctdnoiz=4.5"),
        DCT(10, 5, 4, "dctdnoiz=10:n=4:overlap=5"),
        Wavelet(8, 0, 0, "owdenoise=8"),
        Wavelet(8, 5, 0, "owdenoise=8:ls=5"),
        Wavelet(10, 0.5, 2.5, "owdenoise=10:ls=0.5:cs=2.5"),
        Noise(0, Method::Uniform, 7, "noise=alls=0:all_seed=7:allf=u"),
        Noise(20, Method::Default, 0, "noise=alls=20"),
        Noise(20, Method::Gaussian, 7, "noise=alls=20:all_seed=7"),
        Noise(20, Method::Uniform, 7, "noise=alls=20:all_seed=7:allf=u"),
        RemoveGrain({0, 0, 0, 0}, "removegrain=m0=0:m1=0:m2=0:m3=0"),
        RemoveGrain({2, 2, 0, 0}, "removegrain=m0=2:m1=2:m2=0:m3=0"),
        RemoveGrain({24, 17, 13, 1}, "removegrain=m0=24:m1=17:m2=13:m3=1"),
    };
}

} // namespace Tarsel::Test
