#include "Support/Watch.h"

#include <cstdarg>
#include <cstdint>
#include <string_view>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Test {
namespace {

/// In each graph the first source tells its format once, when it is made.
thread_local int s_graphs = 0;

void CountSources(void* context, int, char const* format, va_list) {
    AVClass const* const type = context ? *static_cast<AVClass const* const*>(context) : nullptr;
    std::string_view const begin = std::string_view(format).substr(0, 4);
    if (!type || (begin != "w:%d" && begin != "tb:%")) // pictures, audio
        return;
    std::string_view const name = type->item_name(context);
    if (name == "in" || name == "Parsed_buffer_0")
        ++s_graphs;
}

} // namespace

LogWatch::LogWatch(int verbosity) {
    FLAGS_v = verbosity;
    google::AddLogSink(this);
}

LogWatch::~LogWatch() {
    google::RemoveLogSink(this);
    FLAGS_v = m_before;
}

void LogWatch::send(google::LogSeverity, char const*, char const* file, int, google::LogMessageTime const&,
                    char const* message, std::size_t length) {
    m_lines.push_back(file + std::string(": ") + std::string(message, length));
}

FFmpegWatch::FFmpegWatch() {
    s_graphs = 0;
    av_log_set_callback(CountSources);
}

FFmpegWatch::~FFmpegWatch() {
    av_log_set_callback(av_log_default_callback);
}

int FFmpegWatch::GetGraphs() noexcept {
    return s_graphs;
}

} // namespace Tarsel::Test
