#include "Proc/Effects/Lumenta/Base/EffectShell.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/ICustomEffectVideo.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/IResample.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Interfaces/Statistics.h"
#include "Proc/Settings/SettingsProperty.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>

#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Tarsel::Proc {

template <class Interface>
EffectShell<Interface>::EffectShell() : m_stages(MakeSP<Core::ProgressControllerStages>()) {}

template <class Interface>
Core::Property EffectShell<Interface>::GetSettings() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = Settings2Property(this->GetSettingsBase());
    property.SetChildT(IPreset::KEY_TYPE_ID, ImplNames::FFMPEG);
    return property;
}

template <class Interface>
void EffectShell<Interface>::Apply(Settings const& settings) {
    std::lock_guard const lock(m_lock);
    Change(settings);
}

template <class Interface>
void EffectShell<Interface>::Change(Settings const& settings) {
    if (this->GetSettingsBase().IsEqualTo(settings))
        return;
    LeaveSettings();
    Store(settings);
}

template <class Interface>
void EffectShell<Interface>::Reset() {
    std::lock_guard const lock(m_lock);
    Forget();
}

template <class Interface>
void EffectShell<Interface>::SetProgressController(SP<Core::IProgressController> const& controller) {
    std::lock_guard const lock(m_lock);
    m_stages->SetProgressController(controller);
}

template <class Interface>
std::int32_t EffectShell<Interface>::GetInputFrameType() const {
    return Medium::s_frameType;
}

template <class Interface>
Core::Property EffectShell<Interface>::GetStatistic() const {
    constexpr std::int32_t effectCategory = 7; // see StatisticInfo
    std::lock_guard const lock(m_lock);
    Statistics::StatisticInfo info;
    info.name = GetStatisticName();
    info.category = effectCategory;
    info.mediaType = Medium::s_frameType;
    info.implName = ImplNames::FFMPEG;
    info.processed = m_processed;
    Core::Property property = Statistics::MakeStatistics(info);
    AddStatistics(property);
    return property;
}

template <class Interface>
std::string EffectShell<Interface>::GetStatisticName() const {
    return fmt::format("virtual Core::Property {}::GetStatistic() const",
                       boost::core::demangle(typeid(*this).name()));
}

template <class Interface>
std::string EffectShell<Interface>::Describe(typename Medium::Codec const& format) const {
    std::lock_guard const lock(m_lock);
    return IsEmpty() ? std::string() : DescribeWork(format);
}

template <class Interface>
void StreamShell<Interface>::LeaveSettings() {
    FinishStream();
    m_stream.Settle();
    auto waiting = m_stream.GiveWaiting();
    this->Reset();
    m_stream.PutBack(std::move(waiting));
}

template <class Interface>
void StreamShell<Interface>::Reset() {
    std::lock_guard const lock(this->m_lock);
    m_stream.GiveWaiting();
    EffectShell<Interface>::Reset();
}

template <class Interface>
void StreamShell<Interface>::Feed(SP<Data> const& data) {
    std::lock_guard const lock(this->m_lock);
    if (!data)
        Core::Throw<EffectException>(Medium::s_nullFed);
    Work(data);
}

template <class Interface>
auto StreamShell<Interface>::Take() -> SP<Data> {
    std::lock_guard const lock(this->m_lock);
    return m_stream.Take();
}

template <class Interface>
void StreamShell<Interface>::End() {
    std::lock_guard const lock(this->m_lock);
    FinishStream();
}

template <class Interface>
void StreamShell<Interface>::FinishStream() {
    m_stream.End();
    // The rest of pictures is a few; and a file that a graph writes is complete when the graph is gone.
    if constexpr (std::is_same_v<Medium, VideoMedium>)
        m_stream.Settle();
}

template class EffectShell<ITwoInputEffectVideo>;
template class EffectShell<IOneInputEffectVideo>;
template class EffectShell<ICustomEffectVideo>;
template class EffectShell<IResizeComplex>;
template class EffectShell<IOneInputEffectAudio>;
template class EffectShell<IResample>;
template class StreamShell<IOneInputEffectVideo>;
template class StreamShell<ICustomEffectVideo>;
template class StreamShell<IResizeComplex>;
template class StreamShell<IOneInputEffectAudio>;
template class StreamShell<IResample>;

} // namespace Tarsel::Proc
