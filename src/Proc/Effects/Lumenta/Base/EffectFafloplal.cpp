#include "Proc/Effects/Lumenta/Base/EffectFafloplal.h"

#include "Proc/Effects/Lumenta/Picture/AlphaRows.h"
#include "Proc/Interfaces/FiltersOnly.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>

#include <optional>
#include <type_traits>
#include <utility>

namespace Tarsel::Proc {
namespace {

/// Holds a datum where others find it while it lives.
template <class Data>
class InputScope {
public:
    InputScope(SP<Data const>& place, SP<Data const> data) noexcept : m_place(place) {
        m_place = std::move(data);
    }
    InputScope(InputScope const&) = delete;
    InputScope& operator=(InputScope const&) = delete;
    ~InputScope() { m_place = nullptr; }

private:
    SP<Data const>& m_place;
};

} // namespace

template <class Medium>
GraphEffect<Medium>::GraphEffect(GraphActions<Medium> const& actions) : m_actions(actions) {
    this->m_stream.SetHook([this](SP<Data>& data) { Finish(data); });
    if constexpr (std::is_same_v<Medium, AudioMedium>)
        this->m_stream.CountSamples(actions.traits->size == Keeps::Always);
}

template <class Medium>
GraphEffect<Medium>::~GraphEffect() {
    std::lock_guard const lock(this->m_lock);
    GraphEffect::Forget();
}

template <class Medium>
bool GraphEffect<Medium>::IsEmpty() const {
    return m_actions.isEmpty ? m_actions.isEmpty(this->GetSettingsBase()) : Shell::IsEmpty();
}

template <class Medium>
std::string GraphEffect<Medium>::MakeSignature(char const* function) const {
    Settings const& present = this->GetSettingsBase();
    std::string const settings = boost::core::demangle(typeid(present).name());
    if constexpr (std::is_same_v<Medium, AudioMedium>)
        return fmt::format(
            "virtual Core::Property EffectFafloplalAudio<EffectActionsAudio<{0}>>::{1}() const "
            "[EffectActionsAudio = EffectActionsAudio<{0}>]",
            settings, function);
    return fmt::format("virtual Core::Property EffectFafloplal<EffectActions<{0}>>::{1}() const "
                       "[EffectActions = EffectActions<{0}>]",
                       settings.substr(settings.rfind(':') + 1), function);
}

template <class Medium>
void GraphEffect<Medium>::AddStatistics(Core::Property& property) const {
    property.SetChildT("Options", GetText(m_graphInfo));
}

template <class Medium>
void GraphEffect<Medium>::Process(SP<Data>& data) {
    std::lock_guard const lock(this->m_lock);
    if (IsEmpty())
        return;
    if (data) {
        Format const format = Medium::GetFormat(*data);
        Info const info = Medium::GetInfo(*data);
        if (!IsBuiltFor(format, info)) {
            this->Reset();
            if (!Build(format, info))
                return;
        }
        CheckData(*data);
    } else if (!this->m_stream.GetGraph()) {
        return;
    }
    bool const isCounted = data != nullptr;
    InputScope<Data> const scope(m_input, data);
    if (m_fastWay) {
        data = GoFastWay(data);
    } else {
        if (data)
            data = Prepare(data);
        this->m_stream.GetGraph()->Process(data);
        Finish(data);
    }
    if (isCounted)
        this->Count();
}

template <class Medium>
void GraphEffect<Medium>::UpdateFormatCodec(SP<Codec>& format) {
    std::lock_guard const lock(this->m_lock);
    if (IsEmpty())
        return;
    Format const input = Medium::GetFormat(*format);
    Info const info = Medium::GetInfo(*format);
    CheckFormat(input, info);
    std::string const description = GetText(info);
    if (Medium::s_passesByNoText && description.empty())
        return;
    auto& cache = Medium::GetCache();
    std::string const key = cache.MakeKey(this->GetSettingsBase().GetClassId(), input, description);
    if (std::optional<Format> const output = cache.Find(key)) {
        Medium::SetFormat(*format, *output);
        if (m_actions.postUpdate)
            m_actions.postUpdate(this->GetSettingsBase(), format);
        return;
    }
    // A graph for other data would put its wrong answer into the cache, for every effect of this class.
    SP<Graph> graph = this->m_stream.GetGraph();
    if (!graph || !IsBuiltFor(input, info) || graph->GetDescription() != description)
        graph = MakeGraph(description, format);
    graph->UpdateFormatCodec(format);
    cache.Store(key, Medium::GetFormat(*format));
}

template <class Medium>
void GraphEffect<Medium>::Work(SP<Data> const& data) {
    Format const format = Medium::GetFormat(*data);
    Info const info = Medium::GetInfo(*data);
    bool passes = IsEmpty();
    if (!passes && !IsBuiltFor(format, info)) {
        this->FinishStream();
        passes = !Build(format, info);
    }
    if (passes) {
        this->m_stream.Pass(data);
        return;
    }
    CheckData(*data);
    InputScope<Data> const scope(m_input, data);
    if (m_fastWay)
        this->m_stream.Pass(GoFastWay(data));
    else
        this->m_stream.Feed(Prepare(data));
    this->Count();
}

template <class Medium>
void GraphEffect<Medium>::Forget() noexcept {
    this->m_stream.SetGraph(nullptr);
    m_fastWay = {};
    m_graphInfo = {};
}

template <class Medium>
bool GraphEffect<Medium>::IsBuiltFor(Format format, Info const& info) const noexcept {
    auto const& stream = this->m_stream;
    bool const works = stream.GetGraph() && stream.GetState() != GraphRunner<Medium>::State::Failed;
    return (works || m_fastWay) && m_graphFormat == format && m_graphInfo == info;
}

/// False when such data pass untouched. Leaves no graph behind when there can be none.
template <class Medium>
bool GraphEffect<Medium>::Build(Format format, Info const& info) {
    Forget();
    std::string const description = GetText(info);
    if (Medium::s_passesByNoText && description.empty())
        return false;
    CheckFormat(format, info);
    m_fastWay = MakeFastWay(format, info);
    m_fastWay.description = description;
    if (!m_fastWay)
        this->m_stream.SetGraph(MakeGraph(description, format, info));
    m_graphFormat = format;
    m_graphInfo = info;
    return true;
}

template <class Medium>
void GraphEffect<Medium>::CheckFormat(Format format, Info const& info) const {
    if (m_actions.checkFormat)
        m_actions.checkFormat(this->GetSettingsBase(), format, info);
}

template <class Medium>
void GraphEffect<Medium>::CheckData(Data const& data) const {
    if (m_actions.checkData)
        m_actions.checkData(this->GetSettingsBase(), data);
}

template <class Medium>
SP<typename Medium::Data> GraphEffect<Medium>::Prepare(SP<Data> const& data) const {
    return m_actions.prepare ? m_actions.prepare(this->GetSettingsBase(), data) : data;
}

template <class Medium>
FastWay GraphEffect<Medium>::MakeFastWay(Format format, Info const& info) const {
    return m_actions.makeFastWay && !IsFiltersOnly()
               ? m_actions.makeFastWay(this->GetSettingsBase(), format, info)
               : FastWay();
}

template <class Medium>
SP<typename Medium::Data> GraphEffect<Medium>::GoFastWay(SP<Data> const& data) const {
    if constexpr (std::is_same_v<Medium, VideoMedium>) {
        SP<Data> result = RunFastWay(m_fastWay, *data);
        Finish(result);
        return result;
    }
    return data; // audio has none
}

/// What there is to do to a datum that came out of the graph, null where none did.
template <class Medium>
void GraphEffect<Medium>::Finish(SP<Data>& data) const {
    Settings const& settings = this->GetSettingsBase();
    if constexpr (std::is_same_v<Medium, VideoMedium>)
        if (data && m_input && m_actions.keepsAlpha && m_actions.keepsAlpha(settings))
            PutAlpha(*m_input, *data);
    if (m_actions.postProcess)
        m_actions.postProcess(settings, data);
}

template class GraphEffect<VideoMedium>;
template class GraphEffect<AudioMedium>;

} // namespace Tarsel::Proc
