#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/EffectStatistics.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/CastSettings.h"
#include "Proc/Settings/SettingsProperty.h"

#include <fmt/format.h>
#include <glog/logging.h>

#include <optional>
#include <typeinfo>
#include <utility>

namespace Tarsel::Proc {
namespace {

/// Holds a frame where others find it while it lives.
class InputScope {
public:
    InputScope(SP<IDataVideo const>& place, SP<IDataVideo const> data) noexcept : m_place(place) {
        m_place = std::move(data);
    }
    InputScope(InputScope const&) = delete;
    InputScope& operator=(InputScope const&) = delete;
    ~InputScope() { m_place = nullptr; }

private:
    SP<IDataVideo const>& m_place;
};

} // namespace

EffectFafloplalVideo::EffectFafloplalVideo()
    : m_stream([this](SP<IDataVideo> const& data) { Finish(data); }),
      m_stages(MakeSP<Core::ProgressControllerStages>()) {}

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
        ThrowOtherSettings(settings, present);
    Apply(settings);
}

void EffectFafloplalVideo::Apply(Settings const& settings) {
    std::lock_guard const lock(m_lock);
    if (GetSettingsBase().IsEqualTo(settings))
        return;
    FinishStream();
    GraphStream::Frames ready = m_stream.GiveReady();
    Reset();
    m_stream.PutBack(std::move(ready));
    StoreSettings(settings);
}

void EffectFafloplalVideo::Reset() {
    std::lock_guard const lock(m_lock);
    DropGraph();
    m_stream.GiveReady();
}

void EffectFafloplalVideo::SetProgressController(SP<Core::IProgressController> const& controller) {
    std::lock_guard const lock(m_lock);
    m_stages->SetProgressController(controller);
}

std::int32_t EffectFafloplalVideo::GetInputFrameType() const {
    return VideoFrames;
}

Core::Property EffectFafloplalVideo::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    std::string const name =
        fmt::format("virtual Core::Property EffectFafloplal<EffectActions<{0}>>::GetStatistic() const "
                    "[EffectActions = EffectActions<{0}>]",
                    GetSettingsName());
    Core::Property property = MakeEffectStatistics(name, VideoFrames, m_frames);
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
    } else if (!m_stream.GetGraph()) {
        return;
    }
    std::uint64_t const frames = data ? 1 : 0;
    InputScope const scope(m_input, data);
    m_stream.GetGraph()->Process(data);
    Finish(data);
    m_frames += frames;
}

/// What the policy has to say to a frame that came out of the graph, null where none did.
void EffectFafloplalVideo::Finish(SP<IDataVideo> const& data) const {
    if (data && m_input && KeepsAlpha())
        PutAlpha(*m_input, *data);
    PostProcess(data);
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
    if (IsBuiltFor(input, info) && m_stream.GetGraph()->GetDescription() == description) {
        graph = m_stream.GetGraph();
    } else {
        graph =
            EffectFFMPEGVideo::Create(GetQueryFFString(info), static_cast<AVPixelFormat>(input), info, {});
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
        m_stream.Pass(data);
        return;
    }
    Conf::PixFmt const format = data->GetPixelFormat();
    Conf::FrameInfo const info = data->GetFrameInfo();
    if (!IsBuiltFor(format, info)) {
        FinishStream();
        Build(format, info);
    }
    CheckFrame(*data);
    InputScope const scope(m_input, data);
    m_stream.Feed(data);
    ++m_frames;
    m_stream.Drain();
}

SP<IDataVideo> EffectFafloplalVideo::Take() {
    std::lock_guard const lock(m_lock);
    return m_stream.Take();
}

void EffectFafloplalVideo::End() {
    std::lock_guard const lock(m_lock);
    FinishStream();
}

bool EffectFafloplalVideo::IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept {
    return m_stream.IsUsable() && m_graphFormat == format && m_graphInfo == info;
}

/// Leaves no graph behind when there can be none.
void EffectFafloplalVideo::Build(Conf::PixFmt format, Conf::FrameInfo const& info) {
    DropGraph();
    std::string const description = GetFFString(info);
    VLOG(31) << "ffmpeg video filter settings: " << description;
    CheckFormat(format, info);
    int const threads = GetTraits().slices && CanSlice(format) ? Core::ThreadBudget::Get() : 1;
    m_stream.Build(description, format, info, threads);
    m_graphFormat = format;
    m_graphInfo = info;
}

void EffectFafloplalVideo::DropGraph() noexcept {
    m_stream.Drop();
    m_graphFormat = Conf::PixFmt::None;
    m_graphInfo = {};
}

/// Ends the stream that runs through the graph, if any. What that was built for is still told by the
/// statistics.
void EffectFafloplalVideo::FinishStream() {
    if (!m_stream.IsRunning())
        return;
    m_graphFormat = Conf::PixFmt::None;
    m_stream.End();
}

} // namespace Tarsel::Proc
