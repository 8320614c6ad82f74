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
