#include "Tools/Tarsel/Audio/Loudness.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#ifdef TARSEL_HAS_EBUR128
#include <ebur128.h>
#endif

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {

#ifdef TARSEL_HAS_EBUR128

namespace {

constexpr double s_minusInfinity = -std::numeric_limits<double>::infinity();

struct PositionRow {
    int channel;
    int position;
};

/// Where channels stand that weigh otherwise than those before the listener.
constexpr PositionRow s_positions[]{
    {AV_CHAN_LOW_FREQUENCY, EBUR128_UNUSED}, {AV_CHAN_LOW_FREQUENCY_2, EBUR128_UNUSED},
    {AV_CHAN_SIDE_LEFT, EBUR128_Mp090},      {AV_CHAN_SIDE_RIGHT, EBUR128_Mm090},
    {AV_CHAN_BACK_LEFT, EBUR128_Mp110},      {AV_CHAN_BACK_RIGHT, EBUR128_Mm110}};

/// Those behind the listener are no surround channels where there are others at the sides.
int GetPosition(int channel, std::uint64_t mask) {
    bool const hasSides = (mask & (AV_CH_SIDE_LEFT | AV_CH_SIDE_RIGHT)) != 0;
    bool const isBack = channel == AV_CHAN_BACK_LEFT || channel == AV_CHAN_BACK_RIGHT;
    auto const* const row = std::ranges::find(s_positions, channel, &PositionRow::channel);
    return row == std::end(s_positions) || (isBack && hasSides) ? EBUR128_CENTER : row->position;
}

void SetPositions(ebur128_state& meter, Conf::ChannelLayout const& layout) {
    unsigned number = 0;
    for (int bit = 0; bit < 64; ++bit)
        if ((layout.mask >> bit & 1U) != 0)
            ebur128_set_channel(&meter, number++, GetPosition(bit, layout.mask));
    for (; number < meter.channels; ++number)
        ebur128_set_channel(&meter, number, EBUR128_CENTER);
}

using Query = int(ebur128_state* meter, double* out);

double Ask(Query* query, ebur128_state& meter) {
    double value = s_minusInfinity;
    return query(&meter, &value) == EBUR128_SUCCESS ? value : s_minusInfinity;
}

} // namespace

struct LoudnessMeter::State {
    struct Destroy {
        void operator()(ebur128_state* owned) const noexcept { ebur128_destroy(&owned); }
    };
    std::unique_ptr<ebur128_state, Destroy> meter;
    std::uint64_t samples = 0;
    double momentaryMax = s_minusInfinity;
    double shortTermMax = s_minusInfinity;

    /// Whether as much has been heard as is averaged over.
    bool IsFilled(double seconds) const noexcept {
        return static_cast<double>(samples) >= seconds * static_cast<double>(meter->samplerate);
    }
};

bool LoudnessMeter::IsAvailable() noexcept {
    return true;
}

LoudnessMeter::LoudnessMeter(Conf::SampleInfo const& format)
    : m_format(format), m_packed(format), m_state(std::make_unique<State>()) {
    m_packed.format = Conf::SampleFormats::Double;
    if (m_packed != m_format)
        m_converter = Proc::SafeSwrContext({m_format, m_packed});
    m_state->meter.reset(ebur128_init(static_cast<unsigned>(format.layout.channels),
                                      static_cast<unsigned long>(format.rate),
                                      EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK));
    if (m_state->meter != nullptr)
        SetPositions(*m_state->meter, format.layout);
}

void LoudnessMeter::Add(Proc::IDataAudio const& block) {
    if (m_state->meter == nullptr)
        return;
    if (!m_converter) {
        AddPacked(*block.GetAVFrame());
        return;
    }
    if (auto const packed = m_converter.Convert(*block.GetAVFrame()))
        AddPacked(**packed);
}

/// Step by step, so that no maximum falls between two readings.
void LoudnessMeter::AddPacked(AVFrame const& block) {
    constexpr std::uint64_t stepsASecond = 100;
    constexpr std::uint64_t stepsAShortTerm = 10;
    constexpr double momentary = 0.4;
    constexpr double shortTerm = 3;
    ebur128_state& meter = *m_state->meter;
    std::uint64_t const step = std::max<std::uint64_t>(meter.samplerate / stepsASecond, 1);
    auto const* const samples = reinterpret_cast<double const*>(block.extended_data[0]);
    auto const count = static_cast<std::uint64_t>(block.nb_samples);
    for (std::uint64_t at = 0; at < count;) {
        std::uint64_t const piece = std::min(count - at, step - m_state->samples % step);
        if (ebur128_add_frames_double(&meter, samples + at * meter.channels, piece) != EBUR128_SUCCESS)
            Core::Throw<Core::MemoryException>("Not enough memory for a loudness meter");
        at += piece;
        m_state->samples += piece;
        if (m_state->samples % step != 0)
            continue;
        if (m_state->IsFilled(momentary))
            m_state->momentaryMax = std::max(m_state->momentaryMax, Ask(ebur128_loudness_momentary, meter));
        if (m_state->samples / step % stepsAShortTerm == 0 && m_state->IsFilled(shortTerm))
            m_state->shortTermMax = std::max(m_state->shortTermMax, Ask(ebur128_loudness_shortterm, meter));
    }
}

std::optional<Loudness> LoudnessMeter::Get() const {
    if (m_state->meter == nullptr)
        return std::nullopt;
    ebur128_state& meter = *m_state->meter;
    double peak = 0;
    for (unsigned channel = 0; channel < meter.channels; ++channel) {
        double ofChannel = 0;
        if (ebur128_true_peak(&meter, channel, &ofChannel) == EBUR128_SUCCESS)
            peak = std::max(peak, ofChannel);
    }
    return Loudness{Ask(ebur128_loudness_global, meter), m_state->shortTermMax, m_state->momentaryMax,
                    Ask(ebur128_loudness_range, meter), 20 * std::log10(peak)};
}

#else

struct LoudnessMeter::State {};

bool LoudnessMeter::IsAvailable() noexcept {
    return false;
}

LoudnessMeter::LoudnessMeter(Conf::SampleInfo const& format) : m_format(format), m_packed(format) {}

void LoudnessMeter::Add(Proc::IDataAudio const& /*block*/) {}

void LoudnessMeter::AddPacked(AVFrame const& /*block*/) {}

std::optional<Loudness> LoudnessMeter::Get() const {
    return std::nullopt;
}

#endif

LoudnessMeter::~LoudnessMeter() = default;

} // namespace Tarsel::Tools
