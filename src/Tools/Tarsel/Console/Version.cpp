#include "Tools/Tarsel/Console/Version.h"

#include <fmt/format.h>

#include <dlfcn.h>

#include <cstdint>

extern "C" {
#include <libavutil/avutil.h>
}

namespace Tarsel::Tools {
namespace {

/// Each of FFmpeg's libraries tells its version through a function of its own. They are looked up among what
/// is loaded: this program itself links libavutil only.
struct Library {
    char const* name;
    char const* versionFunction;
};

constexpr Library s_libraries[] = {
    {"libavutil", "avutil_version"},         {"libavcodec", "avcodec_version"},
    {"libavformat", "avformat_version"},     {"libswscale", "swscale_version"},
    {"libswresample", "swresample_version"},
};

} // namespace

std::string DescribeVersion() {
    std::string text = fmt::format("tarsel {}\nFFmpeg {}", TARSEL_VERSION, av_version_info());
    for (Library const& library : s_libraries) {
        using VersionFunction = unsigned (*)();
        auto const getVersion =
            reinterpret_cast<VersionFunction>(dlsym(RTLD_DEFAULT, library.versionFunction));
        if (getVersion == nullptr)
            continue;
        unsigned const version = getVersion();
        text +=
            fmt::format("\n  {} {}.{}.{}", library.name, version >> 16, version >> 8 & 0xff, version & 0xff);
    }
    return text;
}

} // namespace Tarsel::Tools
