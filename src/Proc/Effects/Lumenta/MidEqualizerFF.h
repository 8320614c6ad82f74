#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Settings/MidEqualizer.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace Tarsel::Proc {

/// Gives a frame the histogram midway between its own and that of a second frame of the same pixel format and
/// colour space, whatever its size. The graph is built by the first pair and again when pixel format or
/// geometry change or the graph has failed; Reset drops it. Any thread; one lock for each effect.
class MidEqualizerFF final : public Core::RefCounted<ITwoInputEffectVideo>, public IEffectDetailsVideo {
public:
    /// std::logic_error "not implemented": these settings have no property tree.
    Core::Property GetSettings() const override;
    void SetSettings(Core::Property const& settings) override;
    Settings const& GetSettingsBase() const override { return m_settings; }
    /// Takes effect with the next graph, not before. Takes no lock. std::bad_cast unless they are
    /// SettingsEffectMidEqualizer.
    void SetSettings(Settings const& settings) override;
    void Reset() override;
    std::int32_t GetInputFrameType() const override;

    /// Both frames have the same time: see EffectFFMPEGTwoInputVideo. With a null on either side `data`
    /// stays. Exception "Both frames must have the same color space to operate"; EffectException for frames
    /// that differ in pixel format, that hold samples above their depth, and as EffectFFMPEGTwoInputVideo.
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    EffectTraits const& GetTraits() const noexcept override;
    std::string Describe(Conf::IFormatCodecVideo const& format) const override;

    /// "midequalizer=planes=15" for the present settings.
    std::string GetFFString() const;
    /// Pairs that went through a graph.
    std::uint64_t GetPairCount() const;

private:
    bool IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept;

    /// The mask is read and written as an atomic, since setting it takes no lock.
    mutable SettingsEffectMidEqualizer m_settings;
    SP<EffectFFMPEGTwoInputVideo> m_graph;
    /// Of the frames the graph was built for.
    Conf::PixFmt m_graphFormat = Conf::PixFmt::None;
    Conf::FrameInfo m_graphInfo;
    Conf::FrameInfo m_secondInfo;
    std::uint64_t m_pairs = 0;
    mutable std::recursive_mutex m_lock;
};

/// Creator of this effect (see TwoInputVideoEffectCreator); it uses neither factory.
SP<ITwoInputEffectVideo> CreateEffectMidequalizer(SP<IEffectFactory const> const& factory,
                                                  SP<IFactoryDataVideo const> const& data);

} // namespace Tarsel::Proc
