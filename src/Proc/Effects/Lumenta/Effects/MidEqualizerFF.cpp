#include "Proc/Effects/Lumenta/Effects/MidEqualizerFF.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Effects/Lumenta/Picture/SampleDepth.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/CastSettings.h"

#include <glog/logging.h>

#include <atomic>
#include <optional>
#include <stdexcept>

namespace Tarsel::Proc {
namespace {

constexpr char const* s_midEqualizerFile = "Proc/Effects/Lumenta/MidEqualizerFF";

constexpr EffectTraits s_midEqualizerTraits{
    .summary = "moves brightness and contrast midway to those of a second frame",
    .alpha = Keeps::Sometimes,
    .depth = Keeps::Always,
    .range = Keeps::Sometimes};

[[noreturn]] void ThrowNotImplemented(char const* signature,
                                      Core::CodePoint point = Core::CodePoint::Here()) {
    Core::Throw<std::logic_error>({s_midEqualizerFile, signature, point}, "not implemented");
}

} // namespace

Core::Property MidEqualizerFF::GetSettings() const {
    ThrowNotImplemented("virtual Core::Property Tarsel::Proc::MidEqualizerFF::GetSettings() const");
}

void MidEqualizerFF::SetSettings(Core::Property const&) {
    ThrowNotImplemented("virtual void Tarsel::Proc::MidEqualizerFF::SetSettings(const Core::Property &)");
}

void MidEqualizerFF::SetSettings(Settings const& settings) {
    auto const& own = CastSettings<SettingsEffectMidEqualizer>(settings, m_settings);
    // Read and written as an atomic, for want of a lock.
    std::atomic_ref(m_settings.planes).store(own.planes, std::memory_order_relaxed);
}

void MidEqualizerFF::Forget() noexcept {
    m_graph = nullptr;
    m_graphFormat = Conf::PixFmt::None;
    m_graphInfo = {};
    m_secondInfo = {};
}

void MidEqualizerFF::Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) {
    std::lock_guard const lock(m_lock);
    if (!data || !second)
        return;
    Core::Site const site{s_midEqualizerFile,
                          "virtual void Tarsel::Proc::MidEqualizerFF::Process(SP<DataType> &, "
                          "const SP<const DataType> &)"};
    Conf::PixFmt const format = data->GetPixelFormat();
    Conf::FrameInfo const info = data->GetFrameInfo();
    Conf::FrameInfo const secondInfo = second->GetFrameInfo();
    if (!IsBuiltFor(format, info) || m_secondInfo != secondInfo) {
        Reset();
        std::string const description = GetFFString();
        VLOG(31) << "ffmpeg video filter settings: " << description;
        m_graph =
            EffectFFMPEGTwoInputVideo::Create(description, Conf::ToAVPixelFormat(format), info, secondInfo);
        m_graphFormat = format;
        m_graphInfo = info;
        m_secondInfo = secondInfo;
    }
    if (data->GetColorSpace() != second->GetColorSpace())
        Core::Throw<Exception>(site, "Both frames must have the same color space to operate");
    RequireSamplesWithinDepth(*data, SettingsEffectMidEqualizer::CLASS_ID, site);
    RequireSamplesWithinDepth(*second, SettingsEffectMidEqualizer::CLASS_ID, site);
    m_graph->Process(data, second);
    Count();
}

void MidEqualizerFF::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    Conf::PixFmt const input = format->GetPixelFormat();
    std::string const description = GetFFString();
    std::string const key = FormatCache::MakeKey(SettingsEffectMidEqualizer::CLASS_ID, input, description);
    if (std::optional<Conf::PixFmt> const output = GetVideoFormatCache().Find(key)) {
        format->SetPixelFormat(*output);
        return;
    }
    // A graph for other frames would put its wrong answer into the cache, for every effect of this class.
    bool const fits = IsBuiltFor(input, format->GetFrameInfo()) && m_graph->GetDescription() == description;
    SP<EffectFFMPEGTwoInputVideo> const graph =
        fits ? m_graph : EffectFFMPEGTwoInputVideo::Create(description, format);
    graph->UpdateFormatCodec(format);
    GetVideoFormatCache().Store(key, format->GetPixelFormat());
}

EffectTraits const& MidEqualizerFF::GetTraits() const noexcept {
    return s_midEqualizerTraits;
}

std::string MidEqualizerFF::GetFFString() const {
    return "midequalizer=planes=" +
           std::to_string(
               std::atomic_ref(const_cast<std::int32_t&>(m_settings.planes)).load(std::memory_order_relaxed));
}

std::uint64_t MidEqualizerFF::GetPairCount() const {
    std::lock_guard const lock(m_lock);
    return GetCount();
}

bool MidEqualizerFF::IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept {
    return m_graph && !m_graph->HasFailed() && m_graphFormat == format && m_graphInfo == info;
}

template <>
struct EffectOver<SettingsEffectMidEqualizer> {
    using Interface = ITwoInputEffectVideo;
    using Type = MidEqualizerFF;
};
template EffectCreator GetCreator<SettingsEffectMidEqualizer>();

} // namespace Tarsel::Proc
