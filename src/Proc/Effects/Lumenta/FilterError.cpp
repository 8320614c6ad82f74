#include "Proc/Effects/Lumenta/FilterError.h"

#include "Proc/Interfaces/ProcExceptions.h"

#include <array>
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

std::string GetFFmpegErrorText(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    // Without words of its own for the number, FFmpeg still writes "Error number <n> occurred".
    (void)av_strerror(error, text.data(), text.size());
    return text.data();
}

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
