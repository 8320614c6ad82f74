#pragma once

#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOwnWork.h"
#include "Proc/Interfaces/IResample.h"
#include "Proc/Settings/Format.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace Tarsel::Proc {

/// Converts rate, format and channels of sound, as SafeSwrContext does. Blocks that are already what is asked
/// for pass as they are. When the form of the blocks or the settings change, the rest of the sound before
/// comes out first, as it was asked for. All operations may be called from any thread; one lock for each
/// effect. What
/// GetSettingsBase gives is not to be read while another thread sets settings.
class ResampleFF : public Core::RefCounted<IResample>,
                   public IEffectStreamAudio,
                   public IEffectDetailsAudio,
                   public IOwnWork {
public:
    /// Creator (see AudioEffectCreator); it uses neither factory.
    static SP<ResampleFF> Create(SP<IEffectFactory const> const& factory,
                                 SP<IFactoryDataAudio const> const& data);

    /// SettingsException for a format, rate or layout that settings cannot have.
    void Init(Conf::SampleInfo const& output) override;
    /// EffectException for null; otherwise as Init.
    void InitByFormat(SP<Conf::IFormatCodecAudio const> const& output) override;

    Core::Property GetSettings() const override;
    void SetSettings(Core::Property const& settings) override;
    Settings const& GetSettingsBase() const override { return m_settings; }
    /// std::bad_cast unless they are SettingsResample.
    void SetSettings(Settings const& settings) override;
    void Reset() override;
    std::int32_t GetInputFrameType() const override;
    /// Adds "Options", what Describe says of the last blocks that were converted; "" before there are any.
    Core::Property GetStatistic() const override;
    /// A null asks for what is held back: a block each time, and at last null, after which another stream may
    /// begin. Throws as SafeSwrContext.
    void Process(SP<IDataAudio>& data) override;
    /// Throws as the conversion of such blocks would.
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) override;

    void Feed(SP<IDataAudio> const& data) override;
    SP<IDataAudio> Take() override;
    void End() override;

    EffectTraits const& GetTraits() const noexcept override;
    /// "44100 Hz fltp stereo -> 48000 Hz s16 stereo".
    std::string Describe(Conf::IFormatCodecAudio const& format) const override;

private:
    void Apply(SettingsResample const& settings);
    SwrCtxParams GetParams(Conf::SampleInfo const& input) const;
    void FinishStream();
    void MakeReady(std::optional<SafeFrame> block);

    SettingsResample m_settings;
    SafeSwrContext m_converter;
    std::deque<SP<IDataAudio>> m_ready;
    std::uint64_t m_blocks = 0;
    mutable std::recursive_mutex m_lock;
};

} // namespace Tarsel::Proc
