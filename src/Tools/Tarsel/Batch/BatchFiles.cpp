#include "Tools/Tarsel/Batch/BatchFiles.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Media/Run.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <system_error>
#include <utility>

#include <glob.h>
#include <sys/stat.h>

namespace Tarsel::Tools {
namespace {

namespace fs = std::filesystem;

bool IsFolder(fs::path const& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

[[noreturn]] void ThrowNotThere(std::string const& name, std::string const& reason) {
    Core::Throw<Media::InputException>(fmt::format("Cannot open \"{}\": {}", name, reason));
}

std::vector<fs::path> ListMedia(fs::path const& folder) {
    std::vector<std::string> const extensions = Media::ListExtensions();
    std::vector<fs::path> files;
    for (std::string const& name : Core::ListFolder(folder)) {
        std::string extension = boost::algorithm::to_lower_copy(fs::path(name).extension().string());
        extension.erase(0, 1);
        if (!name.starts_with('.') && std::ranges::binary_search(extensions, extension) &&
            !IsFolder(folder / name))
            files.push_back(folder / name);
    }
    std::ranges::sort(files);
    if (files.empty())
        ThrowNotThere(folder.string(), "there are no media files in this folder");
    return files;
}

std::vector<fs::path> ListFitting(std::string const& pattern) {
    struct Free {
        void operator()(glob_t* list) const noexcept { globfree(list); }
    };
    glob_t list{};
    int const error = glob(pattern.c_str(), 0, nullptr, &list);
    std::unique_ptr<glob_t, Free> const owner(&list);
    if (error == GLOB_NOSPACE)
        throw std::bad_alloc();
    std::vector<fs::path> files;
    std::copy_if(list.gl_pathv, list.gl_pathv + list.gl_pathc, std::back_inserter(files),
                 [](char const* name) { return !IsFolder(name); });
    if (files.empty())
        ThrowNotThere(pattern, "no file fits this pattern");
    return files;
}

using FileNumber = std::pair<dev_t, ino_t>;

/// By it a file is known whatever its name; {0, 0} for one that is not there.
FileNumber GetFileNumber(fs::path const& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 ? FileNumber(found.st_dev, found.st_ino) : FileNumber();
}

} // namespace

std::vector<fs::path> FindInputs(std::vector<std::string> const& names) {
    std::vector<fs::path> inputs;
    for (std::string const& name : names) {
        std::error_code error;
        std::vector<fs::path> found{name};
        if (IsFolder(name))
            found = ListMedia(name);
        else if (!fs::exists(name, error) && name.find_first_of("*?[") != std::string::npos)
            found = ListFitting(name);
        else if (!fs::exists(name, error))
            ThrowNotThere(name, std::generic_category().message(ENOENT));
        std::ranges::move(found, std::back_inserter(inputs));
    }
    return inputs;
}

std::vector<BatchFile> NameOutputs(std::vector<fs::path> const& inputs, fs::path const& folder,
                                   std::string const& extension) {
    std::map<FileNumber, fs::path> read;
    for (fs::path const& input : inputs)
        read.emplace(GetFileNumber(input), input);
    std::map<fs::path, fs::path> written;
    std::vector<BatchFile> files;
    for (fs::path const& input : inputs) {
        fs::path output = folder / input.filename();
        if (!extension.empty())
            output.replace_extension(extension);
        if (auto const [same, isNew] = written.emplace(output, input); !isNew)
            Core::Throw<UsageException>(
                same->second == input
                    ? fmt::format("Name \"{}\" once", input.string())
                    : fmt::format("Write \"{}\" and \"{}\" to folders of their own: both would become \"{}\"",
                                  same->second.string(), input.string(), output.string()));
        if (auto const same = read.find(GetFileNumber(output)); same != read.end())
            Core::Throw<UsageException>(
                fmt::format("Choose another folder: \"{}\" is an input, and \"{}\" would be written over it",
                            same->second.string(), output.string()));
        files.push_back({input, std::move(output)});
    }
    return files;
}

} // namespace Tarsel::Tools
