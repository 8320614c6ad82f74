#include "Proc/Effects/Lumenta/Base/EffectFF.h"

#include "Core/ThreadBudget.h"
#include "Proc/Effects/Lumenta/Base/SlicedGraph.h"
#include "Proc/Interfaces/ImplNames.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>
#include <glog/logging.h>

#include <string_view>
#include <typeinfo>

namespace Tarsel::Proc {
namespace {

constexpr EffectTraits s_cautious{.summary = "filters frames",
                                  .alpha = Keeps::Sometimes,
                                  .depth = Keeps::Sometimes,
                                  .range = Keeps::Sometimes,
                                  .size = Keeps::Sometimes,
                                  .frameIndependent = false};

void Log(std::string_view what, std::string_view description = {}) {
    VLOG(30) << ImplNames::FFMPEG << what << description;
}

} // namespace

Core::Property EffectVideoFFBase::GetSettings() const {
    return Core::Property("");
}

void EffectVideoFFBase::Apply(Settings const& settings) {
    Change(settings);
}

void EffectVideoFFBase::LogSettings() const {
    Log(" settings: ", m_description);
}

void EffectVideoFFBase::Forget() noexcept {
    if (m_use != GraphUse::Stream)
        return;
    m_builtFor.reset();
    m_stream.SetGraph(nullptr);
}

std::string EffectVideoFFBase::GetStatisticName() const {
    Settings const& settings = GetSettingsBase();
    return fmt::format("virtual Core::Property Tarsel::Proc::EffectVideoFF<{0}, {1}>::GetStatistic() const "
                       "[EffectType = {0}, SettingsType = {1}]",
                       "Tarsel::Proc::IOneInputEffectVideo", boost::core::demangle(typeid(settings).name()));
}

void EffectVideoFFBase::Process(SP<IDataVideo>& data) {
    Log(" starts");
    if (IsEmpty()) {
        Log(" is empty");
        return;
    }
    std::lock_guard const lock(m_lock);
    if (!data) {
        if (m_stream.GetGraph())
            m_stream.GetGraph()->Process(data);
        return;
    }
    GraphKey const key{m_description, data->GetPixelFormat(), data->GetFrameInfo()};
    if (m_use == GraphUse::Queries || !IsBuiltFor(key))
        Build(key, GraphUse::Frames);
    Log(" apply with: ", m_description);
    m_stream.GetGraph()->Process(data);
    Log(" done");
    Count();
}

void EffectVideoFFBase::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    if (IsEmpty())
        return;
    Conf::PixFmt const input = format->GetPixelFormat();
    Conf::FrameInfo const info = format->GetFrameInfo();
    GraphKey const key{GetDescription(input, info), input, info};
    SP<EffectFFMPEGVideo> graph = m_stream.GetGraph();
    if (!graph) {
        graph = EffectFFMPEGVideo::Create(key.description, format);
        m_stream.SetGraph(graph);
        m_builtFor = key;
        m_use = GraphUse::Queries;
    } else if (!IsBuiltFor(key)) {
        graph = EffectFFMPEGVideo::Create(key.description, format);
    }
    graph->UpdateFormatCodec(format);
}

void EffectVideoFFBase::Work(SP<IDataVideo> const& data) {
    Log(" starts");
    if (IsEmpty()) {
        Log(" is empty");
        m_stream.Pass(data);
        return;
    }
    GraphKey const key{m_description, data->GetPixelFormat(), data->GetFrameInfo()};
    if (m_use != GraphUse::Stream || !IsBuiltFor(key)) {
        EffectVideoFFBase::FinishStream();
        Build(key, GraphUse::Stream);
    }
    Log(" apply with: ", m_description);
    m_stream.Feed(data);
    Log(" done");
    Count();
}

std::string EffectVideoFFBase::DescribeWork(Conf::IFormatCodecVideo const& format) const {
    return GetDescription(format.GetPixelFormat(), format.GetFrameInfo());
}

EffectTraits const& EffectVideoFFBase::GetTraits() const noexcept {
    return s_cautious;
}

std::string EffectVideoFFBase::GetDescription(Conf::PixFmt, Conf::FrameInfo const&) const {
    return m_description;
}

bool EffectVideoFFBase::IsBuiltFor(GraphKey const& key) const noexcept {
    using State = GraphRunner<VideoMedium>::State;
    return m_stream.GetGraph() && m_stream.GetState() != State::Failed && m_builtFor == key;
}

/// Leaves no graph behind when there can be none.
void EffectVideoFFBase::Build(GraphKey const& key, GraphUse use) {
    m_builtFor.reset();
    m_stream.SetGraph(nullptr);
    m_stream.SetGraph(MakeSlicedGraph(key.description, key.format, key.info, GetTraits().slices));
    m_builtFor = key;
    m_use = use;
}

} // namespace Tarsel::Proc
