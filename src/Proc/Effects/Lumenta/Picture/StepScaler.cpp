#include "Proc/Effects/Lumenta/Picture/StepScaler.h"

#include "Proc/Wrappers/SafeFrame.h"

#include <utility>

namespace Tarsel::Proc {
namespace {

/// The widest of libswscale's filters has 20 taps for each pixel that becomes one.
constexpr std::uint32_t s_mostAtOnce = 8;

/// A side after the next step; sides that can do the rest at once wait for the last one.
constexpr std::uint32_t NextSide(std::uint32_t from, std::uint32_t to) noexcept {
    return from / s_mostAtOnce >= to && from > s_mostAtOnce * to ? (from + s_mostAtOnce - 1) / s_mostAtOnce
                                                                 : from;
}

} // namespace

KeptScaler& StepScaler::GetScaler(std::size_t step) {
    if (step >= m_scalers.size())
        m_scalers.resize(step + 1);
    return m_scalers[step];
}

void StepScaler::Scale(SwsCtxParams const& params, AVFrame const& from, AVFrame& to) {
    SwsCtxSide side = params.from;
    SafeFrame between;
    AVFrame const* source = &from;
    for (std::size_t step = 0;; ++step) {
        SwsCtxSide const next{NextSide(side.width, params.to.width), NextSide(side.height, params.to.height),
                              side.format, side.space};
        if (next == side) {
            GetScaler(step).Scale({side, params.to, params.flags}, *source, to);
            return;
        }
        SafeFrame smaller(next.space, next.format, next.width, next.height, 0, 1);
        GetScaler(step).Scale({side, next, params.flags}, *source, *smaller);
        between = std::move(smaller);
        source = between.Get();
        side = next;
    }
}

} // namespace Tarsel::Proc
