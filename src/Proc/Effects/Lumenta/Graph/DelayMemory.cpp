#include "Proc/Effects/Lumenta/Graph/DelayMemory.h"

#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

namespace Tarsel::Proc {
namespace {

constexpr double s_mostBytes = 1 << 30;
constexpr double s_mebibyte = 1 << 20;

} // namespace

double GetDelayLineBytes(Conf::SampleInfo const& info, double milliseconds) noexcept {
    return milliseconds / 1000 * info.rate * info.layout.channels *
           Conf::SampleFmtRecord::Find(info.format).size;
}

double GetWaveTableBytes(Conf::SampleInfo const& info, double frequency, double numberBytes) noexcept {
    return info.rate / frequency * numberBytes;
}

void RequireDelayMemory(double bytes, std::string_view effect, Core::Site const& site) {
    if (bytes > s_mostBytes)
        Core::Throw<EffectException>(
            site,
            fmt::format(
                "{} would need {:.0f} MiB of memory for this audio and these settings, more than {:.0f}",
                effect, bytes / s_mebibyte, s_mostBytes / s_mebibyte));
}

} // namespace Tarsel::Proc
