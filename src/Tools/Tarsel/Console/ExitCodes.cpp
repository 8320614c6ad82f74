#include "Tools/Tarsel/Console/ExitCodes.h"

#include "Host/Plugin.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>

#include <cerrno>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Tools {
namespace {

struct Row {
    ExitCode code;
    char const* meaning;
};

constexpr Row s_codes[] = {
    {ExitCode::Done, "done"},
    {ExitCode::BadArguments, "invalid arguments; nothing was written"},
    {ExitCode::InputUnreadable, "the input cannot be read"},
    {ExitCode::EffectFailed, "an effect failed, or memory ran out"},
    {ExitCode::OutputFailed, "the output cannot be written"},
    {ExitCode::SomeFailed, "some of several files failed; the others are written"},
    {ExitCode::Interrupted, "interrupted (TERM 143, HUP 129, QUIT 131); no partial file stays"},
    {ExitCode::ReaderGone, "whoever read the output closed the pipe before its end"},
};

template <class E>
bool Is(std::exception const& failure) noexcept {
    return dynamic_cast<E const*>(&failure) != nullptr;
}

/// Whatever could not be done for want of it.
bool IsOutOfMemory(std::exception const& failure) noexcept {
    int const* const error = boost::get_error_info<Proc::TagFFmpegError>(failure);
    auto const* const code = boost::get_error_info<Proc::TagTranscodingErrorCode>(failure);
    return (error != nullptr && *error == AVERROR(ENOMEM)) ||
           (code != nullptr && *code == Proc::TranscodingErrors::NotEnoughMemory);
}

} // namespace

ExitCode GetExitCode(std::exception const& failure) noexcept {
    if (auto const* const code = boost::get_error_info<TagExitCode>(failure))
        return *code;
    if (IsOutOfMemory(failure))
        return ExitCode::EffectFailed;
    if (Is<UsageException>(failure) || Is<Media::OptionsException>(failure) ||
        Is<Proc::SettingsException>(failure) || Is<Host::PluginException>(failure))
        return ExitCode::BadArguments;
    if (Is<Media::InputException>(failure))
        return ExitCode::InputUnreadable;
    if (Is<Media::ClosedPipeException>(failure))
        return ExitCode::ReaderGone;
    if (Is<Media::OutputException>(failure))
        return ExitCode::OutputFailed;
    if (Is<Media::InterruptedException>(failure))
        return ExitCode::Interrupted;
    return ExitCode::EffectFailed;
}

std::string DescribeExitCodes() {
    std::string text = "Exit codes:\n";
    for (Row const& row : s_codes)
        text += fmt::format("  {:>3}  {}\n", static_cast<int>(row.code), row.meaning);
    return text;
}

} // namespace Tarsel::Tools
