#include "Tools/Tarsel/Console/Version.h"

#include <fmt/format.h>

#include <dlfcn.h>
#include <link.h>

#include <cstddef>
#include <memory>
#include <string_view>

extern "C" {
#include <libavutil/avutil.h>
}

namespace Tarsel::Tools {
namespace {

/// Each of FFmpeg's libraries tells its version through a function of its own. They are looked up among what
/// is loaded: this program itself links libavutil only, and plug-ins keep theirs to themselves.
struct Library {
    char const* name;
    char const* versionFunction;
};

constexpr Library s_libraries[] = {
    {"libavutil", "avutil_version"},     {"libavcodec", "avcodec_version"},
    {"libavformat", "avformat_version"}, {"libavfilter", "avfilter_version"},
    {"libswscale", "swscale_version"},   {"libswresample", "swresample_version"},
};

struct CloseLibrary {
    void operator()(void* library) const noexcept { (void)dlclose(library); }
};

/// Null where it is not loaded.
std::unique_ptr<void, CloseLibrary> FindLoaded(std::string_view name) {
    std::pair<std::string_view, std::string> search(name, "");
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) {
            auto& [wanted, found] = *static_cast<std::pair<std::string_view, std::string>*>(data);
            std::string_view const path = info->dlpi_name;
            std::string_view const file = path.substr(path.rfind('/') + 1);
            bool const isIt = file.starts_with(wanted) && file.substr(wanted.size()).starts_with(".so");
            if (isIt)
                found = path;
            return isIt ? 1 : 0;
        },
        &search);
    return std::unique_ptr<void, CloseLibrary>(
        search.second.empty() ? nullptr : dlopen(search.second.c_str(), RTLD_LAZY | RTLD_NOLOAD));
}

} // namespace

std::vector<std::pair<std::string, std::string>> ListVersions() {
    std::vector<std::pair<std::string, std::string>> versions{{"tarsel", TARSEL_VERSION}};
    for (Library const& library : s_libraries) {
        using VersionFunction = unsigned (*)();
        auto const loaded = FindLoaded(library.name);
        auto const getVersion =
            loaded ? reinterpret_cast<VersionFunction>(dlsym(loaded.get(), library.versionFunction))
                   : nullptr;
        if (getVersion == nullptr)
            continue;
        unsigned const version = getVersion();
        versions.emplace_back(library.name,
                              fmt::format("{}.{}.{}", version >> 16, version >> 8 & 0xff, version & 0xff));
    }
    return versions;
}

std::string DescribeVersion() {
    std::string text;
    for (auto const& [name, version] : ListVersions())
        text += text.empty() ? fmt::format("{} {}\nFFmpeg {}", name, version, av_version_info())
                             : fmt::format("\n  {} {}", name, version);
    return text;
}

} // namespace Tarsel::Tools
