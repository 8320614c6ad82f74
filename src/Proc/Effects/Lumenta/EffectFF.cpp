#include "Proc/Effects/Lumenta/EffectFF.h"

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/EffectStatistics.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>
#include <glog/logging.h>

#include <memory>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace Tarsel::Proc {
namespace {

constexpr EffectTraits s_cautious{.summary = "filters the picture",
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

void EffectVideoFFBase::SetSettings(Core::Property const&) {}

void EffectVideoFFBase::Apply(Settings const& settings) {
    if (GetSettingsBase().IsEqualTo(settings))
        return;
    FinishStream();
    GraphStream::Frames ready = m_stream.GiveReady();
    Reset();
    m_stream.PutBack(std::move(ready));
    std::unique_ptr<Settings> const before = GetSettingsBase().Clone();
    std::string description = m_description;
    StoreSettings(settings);
    try {
        SetSettingsImpl();
    } catch (...) {
        StoreSettings(*before);
        m_description.swap(description);
        throw;
    }
    Log(" settings: ", m_description);
}

void EffectVideoFFBase::Reset() {
    std::lock_guard const lock(m_lock);
    if (m_use == GraphUse::Stream) {
        m_builtFor.reset();
        m_stream.Drop();
    }
    m_stream.GiveReady();
}

std::int32_t EffectVideoFFBase::GetInputFrameType() const {
    return VideoFrames;
}

Core::Property EffectVideoFFBase::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    Settings const& settings = GetSettingsBase();
    std::string const name =
        fmt::format("virtual Core::Property Tarsel::Proc::EffectVideoFF<{0}, {1}>::GetStatistic() const "
                    "[EffectType = {0}, SettingsType = {1}]",
                    "Tarsel::Proc::IOneInputEffectVideo", boost::core::demangle(typeid(settings).name()));
    Core::Property property = MakeEffectStatistics(name, VideoFrames, m_frames);
    UpdateStatistic(property);
    return property;
}

void EffectVideoFFBase::UpdateStatistic(Core::Property&) const {}

void EffectVideoFFBase::Process(SP<IDataVideo>& data) {
    Log(" starts");
    if (GetSettingsBase().IsEmpty()) {
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
    ++m_frames;
}

void EffectVideoFFBase::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    if (GetSettingsBase().IsEmpty())
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

void EffectVideoFFBase::Feed(SP<IDataVideo> const& data) {
    std::lock_guard const lock(m_lock);
    if (!data)
        Core::Throw<EffectException>(
            {"Proc/Effects/Lumenta/EffectFF", "virtual void EffectVideoFFBase::Feed(const SP<IDataVideo> &)"},
            "A null frame cannot be fed");
    Log(" starts");
    if (GetSettingsBase().IsEmpty()) {
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
    ++m_frames;
    m_stream.Drain();
}

SP<IDataVideo> EffectVideoFFBase::Take() {
    std::lock_guard const lock(m_lock);
    return m_stream.Take();
}

void EffectVideoFFBase::End() {
    std::lock_guard const lock(m_lock);
    FinishStream();
}

void EffectVideoFFBase::FinishStream() {
    if (!m_stream.IsRunning())
        return;
    m_builtFor.reset();
    m_stream.End();
}

std::string EffectVideoFFBase::Describe(Conf::IFormatCodecVideo const& format) const {
    std::lock_guard const lock(m_lock);
    return GetSettingsBase().IsEmpty() ? std::string()
                                       : GetDescription(format.GetPixelFormat(), format.GetFrameInfo());
}

EffectTraits const& EffectVideoFFBase::GetTraits() const noexcept {
    return s_cautious;
}

std::string EffectVideoFFBase::GetDescription(Conf::PixFmt, Conf::FrameInfo const&) const {
    return m_description;
}

bool EffectVideoFFBase::IsBuiltFor(GraphKey const& key) const noexcept {
    return m_stream.IsUsable() && m_builtFor == key;
}

/// Leaves no graph behind when there can be none.
void EffectVideoFFBase::Build(GraphKey const& key, GraphUse use) {
    m_builtFor.reset();
    m_stream.Build(key.description, key.format, key.info, GetTraits().slices ? Core::ThreadBudget::Get() : 1);
    m_builtFor = key;
    m_use = use;
}

} // namespace Tarsel::Proc
