#pragma once

#include "Core/Api.h"
#include "Core/Exception.h"

#include <boost/exception/exception.hpp>

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Host {

/// What FFmpeg logged about the failure, oldest first, "[filter] text": for DescribeError.
using TagFFmpegMessages = boost::error_info<struct TagFFmpegMessagesId, std::vector<std::string>>;

/// While one lives, FFmpeg prints nothing: its last warnings and errors go, under TagFFmpegMessages, with the
/// next exception that leaves a step of a chain or a thread of Media::Run, or that DescribeError describes.
/// Those are the lines that the thread logged since its innermost scope opened. Where it logged none and the
/// exception is not known to have other reasons than FFmpeg's, they are those of threads without a scope, as
/// FFmpeg's own worker threads are. Of either, they are the errors, or the warnings when there is no error.
/// Lines go with one exception only.
///
/// Scopes may nest, and be open on any number of threads at once; each is closed by the thread that opened
/// it. A program that works on several threads opens one on each, so that none takes another's lines.
class TARSEL_API FFmpegMessages {
public:
    /// Hears a whole line, without its end, at one of FFmpeg's levels (AV_LOG_INFO and graver). Called on the
    /// thread that logs, by one thread at a time: others that log wait for it. It uses neither this class nor
    /// DescribeError. What it throws is lost, and so is what FFmpeg logs meanwhile.
    using Listener = std::function<void(int level, std::string_view line)>;
    /// As av_log_set_callback takes it.
    using Callback = void (*)(void* object, int level, char const* format, std::va_list arguments);

    /// The listener, which may be empty, hears this thread and all on which no one listens. `restored` is the
    /// program's own callback for FFmpeg's log, which FFmpeg does not tell: it is set again when the last
    /// scope closes; null stands for FFmpeg's own. The first scope to open decides. std::bad_alloc.
    explicit FFmpegMessages(Listener listener = {}, Callback restored = nullptr);
    FFmpegMessages(FFmpegMessages const&) = delete;
    FFmpegMessages& operator=(FFmpegMessages const&) = delete;
    ~FFmpegMessages();

    /// Lets the lines go with this exception of the calling thread; for programs that pass exceptions on to
    /// other threads. Nothing without a scope, or where the exception has lines already. Without memory for
    /// them the lines are lost, and the exception goes on as it is.
    static void AddTo(boost::exception const& failure) noexcept;
    /// The same for exceptions that carry nothing. std::bad_alloc.
    static std::vector<std::string> Take();

    /// While one lives, its thread tries something whose failure is an answer: what FFmpeg logs there
    /// meanwhile goes with no exception thrown later. Listeners hear it at AV_LOG_INFO, or at its own level
    /// where that is less grave. Needs no scope; on one thread.
    class TARSEL_API Trial {
    public:
        Trial() noexcept;
        Trial(Trial const&) = delete;
        Trial& operator=(Trial const&) = delete;
        ~Trial();

    private:
        bool m_wasTrying;
    };

private:
    Listener m_listener;
};

} // namespace Tarsel::Host
