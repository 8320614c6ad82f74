#include "Cases/Families.h"

#include "Frames.h"
#include "Host/PairedEffect.h"
#include "Proc/Effects/Lumenta/EffectImageResizer.h"
#include "Proc/Effects/Lumenta/MidEqualizerFF.h"
#include "Proc/Effects/Lumenta/PixelFormatConverterFF.h"

namespace Tarsel::Test {
namespace {

template <class E, class S>
EffectCase Picture(char const* options) {
    S settings;
    settings.Deserialize(options);
    EffectCase row;
    row.name = settings.GetClassId();
    row.create = [](SP<Proc::IEffectFactory const> const&,
                    SP<Proc::IFactoryDataVideo const> const&) -> SP<Proc::IOneInputEffectVideo> {
        return MakeSP<E>();
    };
    row.settings = MakeSettings<S>(settings);
    row.text = options;
    row.isCustom = true;
    return row;
}

/// Every second frame has another size and format than the first ones.
SP<Proc::IOneInputEffectVideo> CreatePaired(SP<Proc::IEffectFactory const> const& factory,
                                            SP<Proc::IFactoryDataVideo const> const& data) {
    return Host::PairEffect(
        Proc::CreateEffectMidequalizer(factory, data),
        [second = MakeFrame(Conf::PixFmt::RGB24, {18, 10, 1, 1})](std::int64_t) { return second; });
}

} // namespace

std::vector<EffectCase> GetPictureCases() {
    using Proc::SettingsPixelFormatConverter;
    using Proc::SettingsResizer;
    auto const resize = Picture<Proc::EffectImageResizer, SettingsResizer>;
    auto const convert = Picture<Proc::PixelFormatConverterFF, SettingsPixelFormatConverter>;
    EffectCase equalize = resize("");
    equalize.create = CreatePaired;
    equalize.settings = MakeSettings<Proc::SettingsEffectMidEqualizer>();
    equalize.name = equalize.settings->GetClassId();
    equalize.text = "with a second picture";
    return {
        resize("width=33:height=20:algorithm=lanczos"),
        resize("width=1:height=1:algorithm=area"),
        resize("width=40:height=3:fit=pad:background=#102030"),
        resize("width=5:height=40:fit=crop:algorithm=bilinear"),
        resize("height=7:fit=inside"),
        convert("formats=rgb24:background=#ffffff"),
        convert("formats=yuv410p"),
        convert("formats=nv12"),
        convert("formats=yuva444p16le"),
        convert("formats=pal8:dither=1"),
        equalize,
    };
}

} // namespace Tarsel::Test
