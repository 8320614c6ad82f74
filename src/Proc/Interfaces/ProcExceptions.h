#pragma once

#include "Core/Exception.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc {

/// The host's error codes for failed jobs. Those used by effects:
enum class TranscodingErrors : std::int32_t { NotEnoughMemory = 35 };

/// What the job is to report.
using TagTranscodingErrorCode = boost::error_info<struct TagTranscodingErrorCodeId, TranscodingErrors>;
/// The number FFmpeg returned (an AVERROR).
using TagFFmpegError = boost::error_info<struct TagFFmpegErrorId, int>;
/// The filter description that was tried.
using TagFilterText = boost::error_info<struct TagFilterTextId, std::string>;
/// Further facts: the value, its place, the legal range.
using TagDetail = boost::error_info<struct TagDetailId, std::string>;

class TARSEL_API ProcException : public Exception {
public:
    ~ProcException() noexcept override;
};

/// An effect cannot do its work.
class TARSEL_API EffectException : public ProcException {
public:
    ~EffectException() noexcept override;
};

/// A picture algorithm cannot do its work.
class TARSEL_API FilterException : public ProcException {
public:
    ~FilterException() noexcept override;
};

/// Settings that cannot be read: an unknown key, a value that is no value of its kind, or one out of range.
/// The description names settings class, key, value and legal range.
class TARSEL_API SettingsException : public ProcException {
public:
    ~SettingsException() noexcept override;
};

} // namespace Tarsel::Proc
