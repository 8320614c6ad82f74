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
/// says more.
class TARSEL_API IEffect : public Core::IRefCountable {
public:
    enum FrameType : std::int32_t { VideoFrames = 1, AudioFrames = 2 };

    /// The settings as a property tree.
    virtual Core::Property GetSettings() const = 0;
    /// Effects whose settings have no conversion from a tree take their default settings instead.
    virtual void SetSettings(Core::Property const& settings) = 0;
    /// The settings object itself; it belongs to the effect and changes with the next SetSettings.
    virtual Settings const& GetSettingsBase() const = 0;
    /// Copies the settings. std::bad_cast when they are of another class than the effect's.
    virtual void SetSettings(Settings const& settings) = 0;
    /// Forgets the stream so far; settings stay.
    virtual void Reset() = 0;
    /// One datum for each input in, the result out; null when the effect holds it back.
    virtual SP<IData> ProcessData(std::vector<SP<IData>> const& inputs) = 0;
    virtual void SetProgressController(SP<Core::IProgressController> const& controller);
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
