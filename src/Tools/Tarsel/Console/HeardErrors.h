#pragma once

#include "Media/InputErrors.h"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// Media::InputErrors where several inputs may be read side by side: what a thread logs counts for the input
/// that it reads, as far as it says so. For the listener of Host::FFmpegMessages. Any thread.
class HeardErrors {
public:
    /// While one lives, its thread reads one input. On one thread; one at a time on each.
    class OfInput {
    public:
        OfInput() noexcept;
        OfInput(OfInput const&) = delete;
        OfInput& operator=(OfInput const&) = delete;
        ~OfInput();

        std::vector<std::string> GetNotes() const { return m_errors.GetNotes(); }

    private:
        friend HeardErrors;
        Media::InputErrors m_errors;
    };

    /// On the thread that logs.
    void Hear(int level, std::string_view line);
    /// Of all other threads, since the last call.
    std::vector<std::string> TakeNotes();

private:
    std::mutex m_mutex;
    Media::InputErrors m_others;
};

} // namespace Tarsel::Tools
