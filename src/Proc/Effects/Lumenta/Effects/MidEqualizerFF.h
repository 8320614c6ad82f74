#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Base/EffectBase.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Settings/MidEqualizer.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc {

/// Gives a frame the histogram midway between its own and that of a second frame of the same pixel format and
/// color space, whatever its size. The graph is built by the first pair and again when pixel format or
/// geometry change or the graph has failed; Reset drops it.
class MidEqualizerFF final
    : public EffectBase<EffectShell<ITwoInputEffectVideo>, SettingsEffectMidEqualizer> {
public:
    /// std::logic_error "not implemented": these settings have no property tree.
    Core::Property GetSettings() const override;
    void SetSettings(Core::Property const& settings) override;
    /// Takes effect with the next graph, not before. Takes no lock. std::bad_cast unless they are
    /// SettingsEffectMidEqualizer.
    void SetSettings(Settings const& settings) override;
    /// An empty property.
    Core::Property GetStatistic() const override { return ITwoInputEffectVideo::GetStatistic(); }

    /// Both frames have the same time: see EffectFFMPEGTwoInputVideo. With a null on either side `data`
    /// stays. Exception "Both frames must have the same color space to operate"; EffectException for frames
    /// that differ in pixel format, that hold samples above their depth, and as EffectFFMPEGTwoInputVideo.
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    EffectTraits const& GetTraits() const noexcept override;

    /// "midequalizer=planes=15" for the present settings.
    std::string GetFFString() const;
    /// Pairs that went through a graph.
    std::uint64_t GetPairCount() const;

private:
    /// Also without any plane.
    bool IsEmpty() const override { return false; }
    void Forget() noexcept override;
    std::string DescribeWork(Conf::IFormatCodecVideo const&) const override { return GetFFString(); }
    bool IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept;

    SP<EffectFFMPEGTwoInputVideo> m_graph;
    /// Of the frames the graph was built for.
    Conf::PixFmt m_graphFormat = Conf::PixFmt::None;
    Conf::FrameInfo m_graphInfo;
    Conf::FrameInfo m_secondInfo;
};

} // namespace Tarsel::Proc
