#pragma once

#include "Core/Progress.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Proc/Interfaces/IData.h"
#include "Proc/Interfaces/TimeToProgress.h"

#include <cstdint>
#include <vector>

namespace Tarsel::Proc {

class Settings;

/// Root of all effects. The slot order of its virtual operations is binary contract: nothing is added, taken
/// away or moved. Operations may be called from any thread, one at a time for each effect, unless an effect
/// says more. Whatever an effect throws leaves it usable, with the settings it had.
class TARSEL_API IEffect : public Core::IRefCountable {
public:
    enum FrameType : std::int32_t { VideoFrames = 1, AudioFrames = 2 };

    /// The settings as a property tree.
    virtual Core::Property GetSettings() const = 0;
    /// Effects whose settings have no conversion from a tree take their default settings instead, do nothing,
    /// or throw: Host::SetEffectSettings works for all. SettingsException for an illegal value.
    virtual void SetSettings(Core::Property const& settings) = 0;
    /// The settings object itself; it belongs to the effect and changes with the next SetSettings.
    virtual Settings const& GetSettingsBase() const = 0;
    /// Copies the settings. std::bad_cast when they are of another class than the effect's; EffectException
    /// for such as the effect cannot work by.
    virtual void SetSettings(Settings const& settings) = 0;
    /// Forgets the stream so far; settings stay.
    virtual void Reset() = 0;
    /// One datum for each input in, the result out; null when the effect holds it back. The data stay the
    /// caller's. std::logic_error for another number of data, std::bad_cast for those of another medium.
    virtual SP<IData> ProcessData(std::vector<SP<IData>> const& inputs) = 0;
    /// Shares the controller, null for none. Nothing here; effects of this library keep it and report nothing
    /// to it: a frame is too little work to.
    virtual void SetProgressController(SP<Core::IProgressController> const& controller);
    /// How far the effect has got, for effects that change with time: kept for hosts, and read by no effect
    /// of this library. The reference is good as long as the effect.
    virtual TimeToProgress& GetProgress();
    virtual TimeToProgress const& GetProgress() const;
    virtual void SetProgress(TimeToProgress const& progress);
    /// A FrameType.
    virtual std::int32_t GetInputFrameType() const = 0;
    /// What the effect tells about its run; an empty container here.
    virtual Core::Property GetStatistic() const;

private:
    TimeToProgress m_progress;
};

} // namespace Tarsel::Proc
