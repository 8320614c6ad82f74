#pragma once

#include "Core/Progress.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/Base/GraphRunner.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace Tarsel::Proc {

/// What all effects have beside the class of their settings and the work they do.
///
/// All operations may be called from any thread: one lock for each effect, which every one of them holds from
/// start to end, and the hooks below are called under it. What GetSettingsBase gives is not to be read while
/// another thread sets settings. Effects where it is otherwise say so.
template <class Interface>
class EffectShell : public Core::RefCounted<Interface>, public MediumOf<Interface>::Details {
public:
    using Medium = MediumOf<Interface>;

    /// A container of the settings' fields, with the implementation's name as IPreset::KEY_TYPE_ID.
    Core::Property GetSettings() const override;
    void Reset() override;
    void SetProgressController(SP<Core::IProgressController> const& controller) override;
    std::int32_t GetInputFrameType() const override;
    /// As Statistics::MakeStatistics, and what the effect adds.
    Core::Property GetStatistic() const override;
    std::string Describe(typename Medium::Codec const& format) const override;

protected:
    EffectShell();
    ~EffectShell() override = default;

    /// Takes the settings, which are of the effect's class, unless they equal the present ones: what the
    /// stream holds back under those is made ready, and Reset called, but what is ready stays. Where the new
    /// ones fail, the effect goes on with the old.
    virtual void Apply(Settings const& settings);
    /// The same without the lock.
    void Change(Settings const& settings);

    /// Frames, blocks or pairs that were worked on.
    void Count() noexcept { ++m_processed; }
    std::uint64_t GetCount() const noexcept { return m_processed; }

    mutable std::recursive_mutex m_lock;

    /// Whether data pass untouched.
    virtual bool IsEmpty() const { return this->GetSettingsBase().IsEmpty(); }

private:
    /// The settings are those from now on; the present ones stay when this throws.
    virtual void Store(Settings const& settings) = 0;
    /// Gets ready for other settings.
    virtual void LeaveSettings() { this->Reset(); }
    /// Gives back what is kept from datum to datum; also called with empty settings.
    virtual void Forget() noexcept = 0;
    /// Of settings that are not empty.
    virtual std::string DescribeWork(typename Medium::Codec const& format) const = 0;
    /// The signature of the operation that tells the statistics.
    virtual std::string GetStatisticName() const;
    virtual void AddStatistics(Core::Property&) const {}

    SP<Core::ProgressControllerStages> m_stages;
    std::uint64_t m_processed = 0;
};

/// The same of effects that are streams, too.
template <class Interface>
class StreamShell : public EffectShell<Interface>, public MediumOf<Interface>::Stream {
public:
    using Medium = MediumOf<Interface>;
    using Data = typename Medium::Data;

    void Reset() override;
    /// EffectException for null.
    void Feed(SP<Data> const& data) override;
    SP<Data> Take() override;
    void End() override;

protected:
    /// All that is held back is ready, or waits in a graph that has ended.
    virtual void FinishStream();

    GraphRunner<Medium> m_stream;

private:
    void LeaveSettings() override;
    /// Puts what comes of the datum, never null, into the stream.
    virtual void Work(SP<Data> const& data) = 0;
};

} // namespace Tarsel::Proc
