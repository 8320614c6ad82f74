#pragma once

#include "Proc/Effects/Lumenta/Base/EffectFF.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Settings/Rotate.h"

namespace Tarsel::Proc {

/// Turns pictures by any angle. Whole quarter turns are the work of the host's transpose effect; all others
/// that of one "rotate" filter, whose size and, with a fill color that shows through, whose pixel format
/// hang on the frame.
class RotateFF final : public EffectVideoFF<IOneInputEffectVideo, SettingsEffectRotate> {
public:
    /// Keeps the factory, which may be null: then a quarter turn throws EffectException. Needs no data
    /// factory. See VideoEffectCreator.
    static SP<IOneInputEffectVideo> Create(SP<IEffectFactory const> const& factory,
                                           SP<IFactoryDataVideo const> const& data);

    explicit RotateFF(SP<IEffectFactory const> factory);

    void Process(SP<IDataVideo>& data) override;
    /// Computes the size from that of the format, whatever frames were seen.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    /// For a quarter turn what the transpose effect says, "transpose step=n" where it says nothing.
    std::string Describe(Conf::IFormatCodecVideo const& format) const override;
    EffectTraits const& GetTraits() const noexcept override;

private:
    ~RotateFF() override = default;

    void SetSettingsImpl() override;
    std::string GetDescription(Conf::PixFmt format, Conf::FrameInfo const& info) const override;
    void FinishStream() override;
    void Work(SP<IDataVideo> const& data) override;
    void Forget() noexcept override;

    bool AnalyzeAngle(double& angle);
    SP<IOneInputEffectVideo> MakeTranspose(std::int32_t quarters) const;
    void FindTranspose();
    void DrainTranspose();
    void Remember(IDataVideo const& data);
    SettingsEffectRotate WithSize(double angle, Conf::FrameInfo const& info) const;

    SP<IEffectFactory const> m_factory;
    /// While the angle is a whole number of quarter turns.
    SP<IOneInputEffectVideo> m_transpose;
    /// Of the last frame seen.
    Conf::FrameInfo m_info;
    Conf::PixFmt m_format = Conf::PixFmt::None;
};

} // namespace Tarsel::Proc
