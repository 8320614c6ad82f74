#include "Proc/Effects/Lumenta/EffectFafloplalAudio.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/EffectStatistics.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <optional>
#include <stdexcept>
#include <utility>

namespace Tarsel::Proc {
namespace {

constexpr char const* s_file = "Proc/Effects/Lumenta/EffectFafloplalAudio";

} // namespace

EffectFafloplalAudioBase::EffectFafloplalAudioBase(bool keepsCount)
    : m_stream(keepsCount, [this](SP<IDataAudio>& data) { PostProcess(data); }) {}

EffectFafloplalAudioBase::~EffectFafloplalAudioBase() {
    std::lock_guard const lock(m_lock);
    DropGraph();
}

std::string EffectFafloplalAudioBase::MakeSignature(std::string_view settingsName,
                                                    std::string_view function) {
    return fmt::format("virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<Tarsel::Proc::{0}>>::"
                       "{1}() const [EffectActionsAudio = EffectActionsAudio<Tarsel::Proc::{0}>]",
                       settingsName, function);
}

void EffectFafloplalAudioBase::RefuseProperty(char const* signature) {
    Core::Throw<std::logic_error>({s_file, signature}, "Property settings is not supported");
}

void EffectFafloplalAudioBase::Apply(Settings const& settings) {
    std::lock_guard const lock(m_lock);
    if (GetSettingsBase().IsEqualTo(settings))
        return;
    FinishStream();
    m_stream.Settle();
    DropGraph();
    StoreSettings(settings);
}

void EffectFafloplalAudioBase::Reset() {
    std::lock_guard const lock(m_lock);
    DropGraph();
    m_stream.Clear();
}

std::int32_t EffectFafloplalAudioBase::GetInputFrameType() const {
    return AudioFrames;
}

Core::Property EffectFafloplalAudioBase::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    Core::Property property =
        MakeEffectStatistics(MakeSignature(GetSettingsName(), "GetStatistic"), AudioFrames, m_blocks);
    property.SetChildT("Options", GetFFString(m_graphInfo));
    return property;
}

std::string EffectFafloplalAudioBase::Describe(Conf::IFormatCodecAudio const& format) const {
    std::lock_guard const lock(m_lock);
    return IsEmpty() ? std::string() : GetFFString(format.GetSampleInfo());
}

void EffectFafloplalAudioBase::Process(SP<IDataAudio>& data) {
    std::lock_guard const lock(m_lock);
    if (!data || IsEmpty())
        return;
    if (!IsBuiltFor(data->GetSampleFormat(), data->GetSampleInfo())) {
        Reset();
        if (!Build(*data))
            return;
    }
    m_graph->Process(data);
    if (data)
        PostProcess(data);
    ++m_blocks;
}

void EffectFafloplalAudioBase::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    std::lock_guard const lock(m_lock);
    if (IsEmpty())
        return;
    Conf::SampleFormats const input = format->GetSampleFormat();
    Conf::SampleInfo const info = format->GetSampleInfo();
    CheckFormat(info);
    std::string const description = GetFFString(info);
    if (description.empty())
        return;
    std::string const key = SampleFormatCache::MakeKey(GetSettingsBase().GetClassId(), input, description);
    if (std::optional<Conf::SampleFormats> const output = GetAudioFormatCache().Find(key)) {
        format->SetSampleFormat(*output);
        return;
    }
    // A graph for other blocks would put its wrong answer into the cache, for every effect of this class.
    bool const fits = IsBuiltFor(input, info) && m_graph->GetDescription() == description;
    SP<EffectFFMPEGAudio> const graph = fits ? m_graph : EffectFFMPEGAudio::Create(description, format);
    graph->UpdateFormatCodec(format);
    GetAudioFormatCache().Store(key, format->GetSampleFormat());
}

void EffectFafloplalAudioBase::Feed(SP<IDataAudio> const& data) {
    std::lock_guard const lock(m_lock);
    if (!data)
        Core::Throw<EffectException>(
            {s_file, "virtual void EffectFafloplalAudio::Feed(const SP<IDataAudio> &)"},
            "A null block cannot be fed");
    if (IsEmpty()) {
        m_stream.Pass(data);
        return;
    }
    if (!IsBuiltFor(data->GetSampleFormat(), data->GetSampleInfo())) {
        FinishStream();
        if (!Build(*data)) {
            m_stream.Pass(data);
            return;
        }
    }
    m_stream.Feed(m_graph, data);
    ++m_blocks;
}

SP<IDataAudio> EffectFafloplalAudioBase::Take() {
    std::lock_guard const lock(m_lock);
    return m_stream.Take();
}

void EffectFafloplalAudioBase::End() {
    std::lock_guard const lock(m_lock);
    FinishStream();
}

bool EffectFafloplalAudioBase::IsBuiltFor(Conf::SampleFormats format,
                                          Conf::SampleInfo const& info) const noexcept {
    return m_graph && !m_graph->HasFailed() && m_graphFormat == format && m_graphInfo == info;
}

/// False when such blocks pass untouched. Leaves no graph behind when there can be none.
bool EffectFafloplalAudioBase::Build(IDataAudio const& data) {
    DropGraph();
    Conf::SampleInfo const info = data.GetSampleInfo();
    CheckFormat(info);
    std::string const description = GetFFString(info);
    if (description.empty())
        return false;
    SP<EffectFFMPEGAudio> const graph = EffectFFMPEGAudio::Create(description, info);
    graph->WarmUp(info, GetWarmUp(info));
    m_graph = graph;
    m_graphFormat = data.GetSampleFormat();
    m_graphInfo = info;
    return true;
}

void EffectFafloplalAudioBase::DropGraph() noexcept {
    m_graph = nullptr;
    m_graphFormat = Conf::SampleFormats::Unknown;
    m_graphInfo = {};
}

/// The graph that is fed as a stream, if any, goes: all that comes after its end waits to be taken.
void EffectFafloplalAudioBase::FinishStream() {
    if (!m_stream.IsRunning())
        return;
    m_graph = nullptr; // what it was built for is still told by the statistics
    m_stream.End();
}

} // namespace Tarsel::Proc
