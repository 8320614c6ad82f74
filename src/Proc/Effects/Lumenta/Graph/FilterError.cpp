#include "Proc/Effects/Lumenta/Graph/FilterError.h"

#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <cstdint>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Proc {
namespace {

TagDetail MakeDetail(int error, FilterAttempt const& attempt) {
    std::string detail = GetFFmpegErrorText(error);
    if (!attempt.sourceArgs.empty())
        detail += "; source: " + attempt.sourceArgs;
    return TagDetail(detail);
}

} // namespace

void ThrowFilterError(Core::Site const& site, std::string const& text, int error,
                      FilterAttempt const& attempt) {
    Core::Throw<EffectException>(site, text, TagFFmpegError(error), TagFilterText(attempt.description),
                                 MakeDetail(error, attempt));
}

void ThrowNoFilterMemory(Core::Site const& site, FilterAttempt const& attempt) {
    int const error = AVERROR(ENOMEM);
    Core::Throw<EffectException>(
        site, "Not enough memory for filter", TagTranscodingErrorCode(TranscodingErrors::NotEnoughMemory),
        TagFFmpegError(error), TagFilterText(attempt.description), MakeDetail(error, attempt));
}

void ThrowFilterErrorOrMemory(Core::Site const& site, std::string const& text, int error,
                              FilterAttempt const& attempt) {
    if (error == AVERROR(ENOMEM))
        ThrowNoFilterMemory(site, attempt);
    ThrowFilterError(site, text, error, attempt);
}

} // namespace Tarsel::Proc
