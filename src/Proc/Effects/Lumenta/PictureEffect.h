#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Core/Progress.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/EffectStatistics.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOwnWork.h"
#include "Proc/Interfaces/IPreset.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/CastSettings.h"
#include "Proc/Settings/SettingsProperty.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <typeinfo>
#include <utility>

namespace Tarsel::Proc {

/// A video effect that makes one frame of each by itself, without a filter graph: all of it but the pixels.
/// `Interface` is IOneInputEffectVideo or one derived from it, S the settings class. All operations may be
/// called from any thread; one lock for each effect. What
/// GetSettingsBase gives is not to be read while another thread sets settings.
template <class Interface, class S>
class PictureEffect : public Core::RefCounted<Interface>,
                      public IEffectStreamVideo,
                      public IEffectDetailsVideo,
                      public IOwnWork {
public:
    Core::Property GetSettings() const override;
    void SetSettings(Core::Property const& property) override { Apply(Property2Settings<S>(property)); }
    /// std::bad_cast unless the settings are of exactly the effect's class.
    void SetSettings(Settings const& settings) override;
    void SetSettings(S const& settings) { Apply(settings); }
    Settings const& GetSettingsBase() const override { return m_settings; }
    void Reset() override;
    void SetProgressController(SP<Core::IProgressController> const& controller) override;
    std::int32_t GetInputFrameType() const override { return IEffect::VideoFrames; }
    /// Adds "Options", what Describe said of the last frame that was worked on; "" before there is one.
    Core::Property GetStatistic() const override;
    /// A null, and with empty settings any frame, stays as it is.
    void Process(SP<IDataVideo>& data) override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    void Feed(SP<IDataVideo> const& data) override;
    SP<IDataVideo> Take() override;
    void End() override {}

    std::string Describe(Conf::IFormatCodecVideo const& format) const override;

protected:
    /// `name` is the class's, with its namespaces.
    explicit PictureEffect(std::string name)
        : m_name(std::move(name)), m_stages(MakeSP<Core::ProgressControllerStages>()) {}
    ~PictureEffect() override = default;

    S const& GetOptions() const noexcept { return m_settings; }
    /// What the work on the present frame is, for the statistics.
    void SetDescription(std::string description) { m_description = std::move(description); }

private:
    // All are called under the lock, with settings that are not empty.

    /// The result, or `data` itself.
    virtual SP<IDataVideo> Work(SP<IDataVideo> const& data) = 0;
    virtual void UpdateFormat(Conf::IFormatCodecVideo& format) const = 0;
    virtual std::string DescribeWork(Conf::IFormatCodecVideo const& format) const = 0;
    /// Gives back what is kept from frame to frame; also called with empty settings.
    virtual void Forget() noexcept = 0;
    virtual void AddStatistics(Core::Property&) const {}

    void Apply(S const& settings);

    std::string const m_name;
    S m_settings;
    SP<Core::ProgressControllerStages> m_stages;
    std::string m_description;
    std::uint64_t m_frames = 0;
    std::deque<SP<IDataVideo>> m_ready;
    mutable std::recursive_mutex m_lock;
};

template <class Interface, class S>
Core::Property PictureEffect<Interface, S>::GetSettings() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = Settings2Property(m_settings);
    property.SetChildT(IPreset::KEY_TYPE_ID, ImplNames::FFMPEG);
    return property;
}

template <class Interface, class S>
void PictureEffect<Interface, S>::SetSettings(Settings const& settings) {
    if (typeid(settings) != typeid(S))
        ThrowOtherSettings(settings, m_settings);
    Apply(static_cast<S const&>(settings));
}

template <class Interface, class S>
void PictureEffect<Interface, S>::Apply(S const& settings) {
    std::lock_guard const lock(m_lock);
    if (m_settings == settings)
        return;
    m_settings = settings;
    Forget();
}

template <class Interface, class S>
void PictureEffect<Interface, S>::Reset() {
    std::lock_guard const lock(m_lock);
    m_ready.clear();
    Forget();
}

template <class Interface, class S>
void PictureEffect<Interface, S>::SetProgressController(SP<Core::IProgressController> const& controller) {
    std::lock_guard const lock(m_lock);
    m_stages->SetProgressController(controller);
}

template <class Interface, class S>
Core::Property PictureEffect<Interface, S>::GetStatistic() const {
    std::lock_guard const lock(m_lock);
    Core::Property property = MakeEffectStatistics(
        "virtual Core::Property " + m_name + "::GetStatistic() const", IEffect::VideoFrames, m_frames);
    property.SetChildT("Options", m_description);
    AddStatistics(property);
    return property;
}

template <class Interface, class S>
void PictureEffect<Interface, S>::Process(SP<IDataVideo>& data) {
    std::lock_guard const lock(m_lock);
    if (!data || m_settings.IsEmpty())
        return;
    data = Work(data);
    ++m_frames;
}

template <class Interface, class S>
void PictureEffect<Interface, S>::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) {
    std::lock_guard const lock(m_lock);
    if (!m_settings.IsEmpty())
        UpdateFormat(*format);
}

template <class Interface, class S>
void PictureEffect<Interface, S>::Feed(SP<IDataVideo> const& data) {
    std::lock_guard const lock(m_lock);
    if (!data)
        Core::Throw<EffectException>(
            {"Proc/Effects/Lumenta/PictureEffect",
             "virtual void Tarsel::Proc::PictureEffect::Feed(const SP<IDataVideo> &)"},
            "A null frame cannot be fed");
    SP<IDataVideo> result = data;
    Process(result);
    m_ready.push_back(std::move(result));
}

template <class Interface, class S>
SP<IDataVideo> PictureEffect<Interface, S>::Take() {
    std::lock_guard const lock(m_lock);
    if (m_ready.empty())
        return nullptr;
    SP<IDataVideo> result = std::move(m_ready.front());
    m_ready.pop_front();
    return result;
}

template <class Interface, class S>
std::string PictureEffect<Interface, S>::Describe(Conf::IFormatCodecVideo const& format) const {
    std::lock_guard const lock(m_lock);
    return m_settings.IsEmpty() ? std::string() : DescribeWork(format);
}

} // namespace Tarsel::Proc
