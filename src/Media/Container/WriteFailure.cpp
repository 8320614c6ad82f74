#include "Media/Container/WriteFailure.h"

#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Media {

void ThrowCannotWrite(std::filesystem::path const& path, int error, Core::Site const& site) {
    if (error == AVERROR_EXIT)
        throw Stopped();
    if (error == AVERROR(EPIPE))
        Core::Throw<ClosedPipeException>(
            site, fmt::format("Cannot write the rest of {}: its reader has closed the pipe", Quote(path)));
    Core::Throw<OutputException>(
        site, fmt::format("Cannot write {}: {}", Quote(path), Proc::GetFFmpegErrorText(error)),
        Proc::TagFFmpegError(error));
}

} // namespace Tarsel::Media
