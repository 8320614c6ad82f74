#pragma once

#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwsContext.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

struct AVFrame;

namespace Tarsel::Media {

/// Makes all frames of a video like its first one, in size and pixel format: recordings whose resolution
/// changes on the way, as broadcasts and video calls have it. Pixels are bicubic, whatever shape that gives
/// them. One thread at a time.
class FrameFitter {
public:
    /// Without `mayScale` frames that are not like the first are refused. The path is for messages.
    FrameFitter(std::filesystem::path path, bool mayScale);

    /// `first` is the first frame; else the first that Fit gets. Before that.
    void FitTo(AVFrame const& first);
    /// The frame itself where it is like the first; else scaled, with all that it says beside its pixels.
    /// `time` is in microseconds, for messages. InputException; EffectException for a format that libswscale
    /// does not convert.
    Proc::SafeFrame Fit(Proc::SafeFrame frame, std::int64_t time);

    /// How often that was so, one sentence.
    std::vector<std::string> GetNotes() const;

private:
    std::filesystem::path m_path;
    bool m_mayScale;
    std::optional<Proc::SafeFrame> m_first;
    Proc::SwsCtxSide m_target;
    /// Of the frame before.
    Proc::SwsCtxSide m_last;
    Proc::SafeSwsContext m_scaler;
    std::string m_firstChange;
    std::int64_t m_changes = 0;
    std::int64_t m_scaled = 0;
};

} // namespace Tarsel::Media
