#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/FormatCache.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Interfaces/Statistics.h"
#include "Proc/Settings/SettingsProperty.h"

#include <fmt/format.h>
#include <glog/logging.h>

#include <optional>
#include <typeinfo>
#include <utility>

namespace Tarsel::Proc {
namespace {

/// Codes of an effect's statistics; see StatisticInfo.
constexpr std::int32_t s_effectCategory = 7;
constexpr std::int32_t s_video = 1;

/// Frame rate 0/1: the graphs of these effects do not know it.
constexpr Ratio s_unknownRate{0, 1};

constexpr AVPixelFormat ToFFmpeg(Conf::PixFmt format) {
    return static_cast<AVPixelFormat>(format);
}

} // namespace

EffectFafloplalVideo::EffectFafloplalVideo() : m_stages(MakeSP<Core::ProgressControllerStages>()) {}

EffectFafloplalVideo::~EffectFafloplalVideo() {
    std::lock_guard const lock(m_lock);
    DropGraph();
}

Core::Property EffectFafloplalVideo::GetSettings() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = Settings2Property(GetSettingsBase());
    property.SetChildT(IPreset::KEY_TYPE_ID, ImplNames::FFMPEG);
    return property;
}

void EffectFafloplalVideo::SetSettings(Settings const& settings) {
    Settings const& present = GetSettingsBase();
    if (typeid(settings) != typeid(present))
        throw std::bad_cast();
    Apply(settings);
}

void EffectFafloplalVideo::Apply(Settings const& settings) {
    std::lock_guard const lock(m_lock);
    if (GetSettingsBase().IsEqualTo(settings))
        return;
    FinishStream();
    std::deque<SP<IDataVideo>> ready = std::move(m_ready);
    Reset();
    m_ready = std::move(ready);
    StoreSettings(settings);
}

void EffectFafloplalVideo::Reset() {
    std::lock_guard const lock(m_lock);
    DropGraph();
    m_ready.clear();
}

void EffectFafloplalVideo::SetProgressController(SP<Core::IProgressController> const& controller) {
    std::lock_guard const lock(m_lock);
    m_stages->SetProgressController(controller);
}

std::int32_t EffectFafloplalVideo::GetInputFrameType() const {
    return s_video;
}

Core::Property EffectFafloplalVideo::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    Statistics::StatisticInfo info;
    info.name =
        fmt::format("virtual Core::Property EffectFafloplal<EffectActions<{0}>>::GetStatistic() const "
                    "[EffectActions = EffectActions<{0}>]",
                    GetSettingsName());
    info.category = s_effectCategory;
    info.mediaType = s_video;
    info.implName = ImplNames::FFMPEG;
    info.processed = m_frames;
    Core::Property property = Statistics::MakeStatistics(info);
    property.SetChildT("Options", GetFFString(m_graphInfo));
    return property;
}

std::string EffectFafloplalVideo::Describe(Conf::IFormatCodecVideo const& format) const {
    std::lock_guard const lock(m_lock);
    return IsEmpty() ? std::string() : GetFFString(format.GetFrameInfo());
}

void EffectFafloplalVideo::Process(SP<IDataVideo>& data) {
    std::lock_guard const lock(m_lock);
    if (IsEmpty())
        return;
    if (data) {
        Conf::PixFmt const format = data->GetPixelFormat();
        Conf::FrameInfo const info = data->GetFrameInfo();
        if (!IsBuiltFor(format, info)) {
            Reset();
            Build(format, info);
        }
        CheckFrame(*data);
    } else if (!m_graph) {
        return;
    }
    std::uint64_t const frames = data ? 1 : 0;
    m_graph->Process(data);
    PostProcess(data);
    m_frames += frames;
}

void EffectFafloplalVideo::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    if (IsEmpty())
        return;
    Conf::PixFmt const input = format->GetPixelFormat();
    Conf::FrameInfo const info = format->GetFrameInfo();
    CheckFormat(input, info);
    std::string const description = GetFFString(info);
    std::string const key = FormatCache::MakeKey(GetSettingsBase().GetClassId(), input, description);
    if (std::optional<Conf::PixFmt> const output = GetVideoFormatCache().Find(key)) {
        format->SetPixelFormat(*output);
        PostUpdate(format);
        return;
    }
    // A graph for other frames would put its wrong answer into the cache, for every effect of this class.
    SP<EffectFFMPEGVideo> graph;
    if (IsBuiltFor(input, info) && m_graph->GetDescription() == description) {
        graph = m_graph;
    } else {
        graph = EffectFFMPEGVideo::Create(GetQueryFFString(info), ToFFmpeg(input), info, s_unknownRate);
    }
    graph->UpdateFormatCodec(format);
    GetVideoFormatCache().Store(key, format->GetPixelFormat());
}

void EffectFafloplalVideo::Feed(SP<IDataVideo> const& data) {
    std::lock_guard const lock(m_lock);
    if (!data)
        Core::Throw<EffectException>({"Proc/Effects/Lumenta/EffectFafloplalVideo",
                                      "virtual void EffectFafloplalVideo::Feed(const SP<IDataVideo> &)"},
                                     "A null frame cannot be fed");
    if (IsEmpty()) {
        m_ready.push_back(data);
        return;
    }
    Conf::PixFmt const format = data->GetPixelFormat();
    Conf::FrameInfo const info = data->GetFrameInfo();
    if (!IsBuiltFor(format, info)) {
        FinishStream();
        Build(format, info);
    }
    CheckFrame(*data);
    m_graph->Feed(data);
    m_streaming = true;
    ++m_frames;
    Drain(*m_graph);
}

SP<IDataVideo> EffectFafloplalVideo::Take() {
    std::lock_guard const lock(m_lock);
    if (m_ready.empty())
        return nullptr;
    SP<IDataVideo> data = std::move(m_ready.front());
    m_ready.pop_front();
    return data;
}

void EffectFafloplalVideo::End() {
    std::lock_guard const lock(m_lock);
    FinishStream();
}

bool EffectFafloplalVideo::IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept {
    return m_graph && !m_graph->HasFailed() && m_graphFormat == format && m_graphInfo == info;
}

/// Leaves no graph behind when there can be none.
void EffectFafloplalVideo::Build(Conf::PixFmt format, Conf::FrameInfo const& info) {
    DropGraph();
    std::string const description = GetFFString(info);
    VLOG(31) << "ffmpeg video filter settings: " << description;
    CheckFormat(format, info);
    int const threads = GetTraits().slices && CanSlice(format) ? Core::ThreadBudget::Get() : 1;
    m_graph = EffectFFMPEGVideo::Create(description, ToFFmpeg(format), info, s_unknownRate,
                                        Core::ThreadLease(threads));
    m_graphFormat = format;
    m_graphInfo = info;
}

void EffectFafloplalVideo::DropGraph() noexcept {
    m_graph = nullptr;
    m_graphFormat = Conf::PixFmt::None;
    m_graphInfo = {};
    m_streaming = false;
}

/// Ends the stream that runs through the graph, if any: its rest is ready, its graph gone, also on failure.
void EffectFafloplalVideo::FinishStream() {
    if (!m_streaming)
        return;
    SP<EffectFFMPEGVideo> const graph = std::move(m_graph);
    DropGraph();
    if (graph->HasFailed())
        return;
    graph->End();
    Drain(*graph);
}

void EffectFafloplalVideo::Drain(EffectFFMPEGVideo& graph) {
    while (SP<IDataVideo> data = graph.Take()) {
        PostProcess(data);
        m_ready.push_back(std::move(data));
    }
}

} // namespace Tarsel::Proc
