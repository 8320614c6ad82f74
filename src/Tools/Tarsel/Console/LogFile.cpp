#include "Tools/Tarsel/Console/LogFile.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <system_error>

extern "C" {
#include <libavutil/log.h>
}

#include <fcntl.h>
#include <unistd.h>

namespace Tarsel::Tools {
namespace {

/// "2026-01-31T12:34:56.789Z".
std::string FormatNow() {
    using namespace std::chrono;
    auto const now = time_point_cast<milliseconds>(system_clock::now());
    return fmt::format("{:%FT%T}.{:03}Z", fmt::gmtime(system_clock::to_time_t(now)),
                       now.time_since_epoch().count() % 1000);
}

/// Whether a file begins as a log does, or is empty.
bool BeginsAsLog(int descriptor) {
    constexpr std::string_view form = "0000-00-00T00:00:00.000Z ";
    std::string start(form.size(), '\0');
    ssize_t const size = pread(descriptor, start.data(), start.size(), 0);
    auto const fits = [](char letter, char wanted) {
        return wanted == '0' ? std::isdigit(static_cast<unsigned char>(letter)) != 0 : letter == wanted;
    };
    return size == 0 || (size == static_cast<ssize_t>(form.size()) && std::ranges::equal(start, form, fits));
}

[[noreturn]] void ThrowCannotWrite(std::filesystem::path const& path, std::string const& reason) {
    Core::Throw<Media::OutputException>(fmt::format("--log: cannot write \"{}\": {}", path.string(), reason));
}

} // namespace

LogFile::~LogFile() {
    if (m_descriptor >= 0)
        (void)close(m_descriptor);
}

void LogFile::Open(std::filesystem::path const& path) {
    // Readable too, to see what is there; a pipe or a terminal has nothing.
    constexpr mode_t rights = 0666;
    int const file = open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, rights);
    if (file < 0)
        ThrowCannotWrite(path, std::generic_category().message(errno));
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored) && !BeginsAsLog(file)) {
        (void)close(file);
        ThrowCannotWrite(path, "it exists and is not a log; choose another name");
    }
    m_descriptor = file;
    m_path = path;
}

void LogFile::Write(std::string_view level, std::string_view text) {
    if (m_descriptor < 0)
        return;
    std::string const line = fmt::format("{} {} {}\n", FormatNow(), level, text);
    if (int const error = Core::WriteAll(m_descriptor, line); error != 0)
        m_error = error;
}

std::string LogFile::GetNote() const {
    return m_error == 0 ? std::string()
                        : fmt::format("The log \"{}\" is incomplete: {}.", m_path.string(),
                                      std::generic_category().message(m_error));
}

std::string_view GetLevelName(int level) noexcept {
    struct Row {
        int level;
        std::string_view name;
    };
    constexpr Row rows[] = {{AV_LOG_PANIC, "panic"},
                            {AV_LOG_FATAL, "fatal"},
                            {AV_LOG_ERROR, "error"},
                            {AV_LOG_WARNING, "warning"}};
    for (Row const& row : rows)
        if (level <= row.level)
            return row.name;
    return "info";
}

} // namespace Tarsel::Tools
