#include "Conf/AudioTime.h"

namespace Tarsel::Conf {

namespace {

constexpr std::int64_t s_second = 1000000;
constexpr int s_fractionBits = 32;
constexpr std::uint64_t s_microsecond = std::uint64_t{1} << s_fractionBits;

/// Microseconds and parts of one, rounded down.
struct Span {
    std::int64_t whole;
    std::uint64_t fraction;
};

Span MakeSpan(std::int64_t count, std::int32_t rate) noexcept {
    // Whole seconds apart, so that nothing overflows.
    std::int64_t const rest = count % rate * s_second;
    auto const left = static_cast<std::uint64_t>(rest % rate);
    return {count / rate * s_second + rest / rate,
            (left << s_fractionBits) / static_cast<std::uint64_t>(rate)};
}

} // namespace

std::int64_t AudioTime::GetTime() const noexcept {
    Span const span = MakeSpan(m_count, m_rate);
    std::uint64_t const fraction = m_startFraction + span.fraction + s_microsecond / 2;
    return m_start + span.whole + static_cast<std::int64_t>(fraction >> s_fractionBits);
}

void AudioTime::AddSamples(std::int32_t rate, std::int64_t count) noexcept {
    if (rate <= 0)
        return;
    if (rate != m_rate)
        Rebase(rate);
    m_count += count;
}

/// Begins another count.
void AudioTime::Rebase(std::int32_t rate) noexcept {
    Span const span = MakeSpan(m_count, m_rate);
    m_startFraction += span.fraction;
    m_start += span.whole + static_cast<std::int64_t>(m_startFraction >> s_fractionBits);
    m_startFraction %= s_microsecond;
    m_count = 0;
    m_rate = rate;
}

std::int64_t GetDuration(std::int32_t rate, std::int64_t count) noexcept {
    AudioTime time;
    time.AddSamples(rate, count);
    return time.GetTime();
}

} // namespace Tarsel::Conf
