#pragma once

#include "Core/Exception.h"
#include "Media/Api.h"

#include <string>

namespace Tarsel::Media {

/// The option of the call that would cure a failure, with what it takes: "overwrite", "at SECONDS".
using TagMissingOption = boost::error_info<struct TagMissingOptionId, std::string>;

/// The option of the call without which it would not have failed: "at".
using TagSurplusOption = boost::error_info<struct TagSurplusOptionId, std::string>;

/// The input cannot be opened, has no picture to work on, or breaks off unreadable.
class TARSEL_MEDIA_API InputException : public Exception {
public:
    ~InputException() noexcept override;
};

/// The output cannot be made or written.
class TARSEL_MEDIA_API OutputException : public Exception {
public:
    ~OutputException() noexcept override;
};

/// Whoever read the pipe that is written has closed it before the end.
class TARSEL_MEDIA_API ClosedPipeException : public OutputException {
public:
    ~ClosedPipeException() noexcept override;
};

/// The options contradict each other or the files: nothing was written.
class TARSEL_MEDIA_API OptionsException : public Exception {
public:
    ~OptionsException() noexcept override;
};

/// The caller asked to stop; nothing is left behind.
class TARSEL_MEDIA_API InterruptedException : public Exception {
public:
    ~InterruptedException() noexcept override;
};

} // namespace Tarsel::Media
