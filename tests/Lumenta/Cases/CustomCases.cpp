#include "Cases/Families.h"

#include "CustomDoubles.h"
#include "Proc/Effects/Lumenta/ColorBalanceFF.h"
#include "Proc/Effects/Lumenta/RotateFF.h"
#include "Proc/Effects/Lumenta/SmartBlurFF.h"

namespace Tarsel::Test {
namespace {

/// E from a factory over all of this library.
template <class E>
SP<Proc::IOneInputEffectVideo> CreateWithFactory(SP<Proc::IEffectFactory const> const&,
                                                 SP<Proc::IFactoryDataVideo const> const& data) {
    return E::Create(GetFactory(), data);
}

template <class E, class S>
EffectCase Custom(S const& settings, char const* text) {
    return {.name = settings.GetClassId(),
            .create = CreateWithFactory<E>,
            .settings = MakeSettings<S>(settings),
            .text = text,
            .isCustom = true};
}

EffectCase Balance(int contrast, int saturation, int gamma, int hue, char const* text) {
    Proc::SettingsEffectColorBalance settings;
    settings.contrast = contrast;
    settings.saturation = saturation;
    settings.gamma = gamma;
    settings.hue = hue;
    EffectCase row = Custom<Proc::ColorBalanceFF>(settings, text);
    row.treatsAlphaApart = !settings.IsEmpty();
    return row;
}

/// With a size that hangs on the settings alone.
EffectCase Rotate(double angle, int width, std::uint8_t fillAlpha, char const* text) {
    Proc::SettingsEffectRotate settings;
    settings.angle = angle;
    settings.fillColor = {200, 100, 50, fillAlpha};
    if (width != 0)
        settings.sizeMode = Proc::SettingsEffectRotate::SizeMode::Given;
    settings.outputWidth = width;
    settings.outputHeight = width / 2;
    return Custom<Proc::RotateFF>(settings, text);
}

EffectCase SmartBlur(int radius, int luma, int chroma, int threshold, char const* text) {
    Proc::SettingsEffectSmartBlur settings;
    settings.lumaRadius = settings.chromaRadius = radius;
    settings.lumaStrength = luma;
    settings.chromaStrength = chroma;
    settings.lumaThreshold = threshold;
    return Custom<Proc::SmartBlurFF>(settings, text);
}

} // namespace

std::vector<EffectCase> GetCustomCases() {
    return {
        Balance(0, 0, 0, 0, ""),
        Balance(20, 50, 30, 0, "eq=contrast=1.2:saturation=2:gamma=2"),
        Balance(0, 0, 0, -60, "hue=h=-60"),
        Balance(-20, 0, 0, 90, "eq=contrast=0.8[s];[s]hue=h=90"),
        Rotate(0, 0, 255, ""),
        Rotate(30, 0, 255, "rotate=angle=0.524:fillcolor=0xc86432ff"),
        Rotate(-100, 90, 255, "rotate=angle=-1.745:fillcolor=0xc86432ff:out_w=90:out_h=45"),
        Rotate(10, 0, 128, "format=rgba,rotate=angle=0.175:fillcolor=0xc8643280"),
        Rotate(90, 0, 255, "transpose=dir=1"),
        SmartBlur(20, 0, 0, 0, ""),
        SmartBlur(50, 100, 30, 0, "smartblur=lr=2.5:cr=2.5:lt=0:ct=0:ls=1:cs=0.3"),
        SmartBlur(1, -100, 0, 20, "smartblur=lr=0.1:cr=0.1:lt=6:ct=0:ls=-1:cs=0"),
        SmartBlur(100, 50, -50, -20, "smartblur=lr=5:cr=5:lt=-6:ct=0:ls=0.5:cs=-0.5"),
    };
}

} // namespace Tarsel::Test
