#pragma once

#include "Proc/Effects/Lumenta/Base/EffectFF.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Settings/Color.h"

namespace Tarsel::Proc {

/// Brightness, contrast, saturation, gamma and hue. Frames with alpha become planar YUV with alpha of 8 bits
/// first, whatever format they had, and keep their alpha bit for bit from there.
class ColorBalanceFF final : public EffectVideoFF<IOneInputEffectVideo, SettingsEffectColorBalance> {
public:
    /// Takes the host's pixel format converter from the factory, and throws what that throws. Without a
    /// factory only frames with alpha are refused, with an EffectException. See VideoEffectCreator.
    static SP<IOneInputEffectVideo> Create(SP<IEffectFactory const> const& factory,
                                           SP<IFactoryDataVideo const> const& data);

    ColorBalanceFF(SP<IEffectFactory const> const& factory, SP<IFactoryDataVideo const> data);

    /// std::out_of_range "map::at:  key not found" where the converter gives a format it was not allowed.
    void Process(SP<IDataVideo>& data) override;
    /// Says what becomes of formats with alpha. Others are left as they are, though the filters may convert
    /// them: no graph is built before the first frame.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    EffectTraits const& GetTraits() const noexcept override;

private:
    ~ColorBalanceFF() override = default;

    void SetSettingsImpl() override;
    void Work(SP<IDataVideo> const& data) override;

    bool ConvertsAlpha(Conf::PixFmt format) const;
    IOneInputEffectVideo& GetConverter() const;

    SP<IFactoryDataVideo const> m_dataFactory;
    /// Null without a factory.
    SP<IOneInputEffectVideo> m_converter;
};

} // namespace Tarsel::Proc
