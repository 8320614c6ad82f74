#pragma once

#include <csignal>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Fuzz {

/// No file above a megabyte, no buffer of FFmpeg's above 64: what runs into these is refused as a full disk
/// and full memory are.
inline void SetLimits() {
    static bool const s_isSet = [] {
        rlimit const size{1 << 20, 1 << 20};
        (void)std::signal(SIGXFSZ, SIG_IGN);
        (void)setrlimit(RLIMIT_FSIZE, &size);
        av_max_alloc(1 << 26);
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    (void)s_isSet;
}

/// Of all files that FFmpeg writes.
inline std::vector<std::string> ListExtensions() {
    std::set<std::string> extensions;
    void* place = nullptr;
    while (AVOutputFormat const* const format = av_muxer_iterate(&place)) {
        std::istringstream names(format->extensions == nullptr ? "" : format->extensions);
        for (std::string name; std::getline(names, name, ',');)
            extensions.insert(name);
    }
    return {extensions.begin(), extensions.end()};
}

} // namespace Tarsel::Fuzz
