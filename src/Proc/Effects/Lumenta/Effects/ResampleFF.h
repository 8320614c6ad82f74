#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Effects/Lumenta/Base/EffectBase.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Interfaces/IOwnWork.h"
#include "Proc/Interfaces/IResample.h"
#include "Proc/Settings/Format.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <optional>
#include <string>

namespace Tarsel::Proc {

/// Converts rate, format and channels of audio, as SafeSwrContext does. Blocks that are already what is asked
/// for pass as they are. When the form of the blocks or the settings change, the rest of the audio before
/// comes out first, as it was asked for. Its statistics add "Options", what Describe says of the last blocks
/// that were converted; "" before there are any.
class ResampleFF : public EffectBase<StreamShell<IResample>, SettingsResample>, public IOwnWork {
public:
    /// Creator (see AudioEffectCreator); it uses neither factory.
    static SP<ResampleFF> Create(SP<IEffectFactory const> const& factory,
                                 SP<IFactoryDataAudio const> const& data);

    /// SettingsException for a format, rate or layout that settings cannot have.
    void Init(Conf::SampleInfo const& output) override;
    /// EffectException for null; otherwise as Init.
    void InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) override;

    /// A null asks for what is held back: a block each time, and at last null, after which another stream may
    /// begin. Throws as SafeSwrContext.
    void Process(SP<IDataAudio>& data) override;
    /// Throws as the conversion of such blocks would.
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) override;

    EffectTraits const& GetTraits() const noexcept override;

private:
    void Forget() noexcept override { m_converter = {}; }
    /// The next block that they are for begins another stream.
    void LeaveSettings() override {}
    void FinishStream() override;
    void Work(SP<IDataAudio> const& data) override;
    /// "44100 Hz fltp stereo -> 48000 Hz s16 stereo".
    std::string DescribeWork(Conf::IFormatCodecAudio const& format) const override;
    void AddStatistics(Core::Property& property) const override;

    SwrCtxParams GetParams(Conf::SampleInfo const& input) const;
    void MakeReady(std::optional<SafeFrame> block);

    SafeSwrContext m_converter;
};

} // namespace Tarsel::Proc
