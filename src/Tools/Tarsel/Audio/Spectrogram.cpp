#include "Tools/Tarsel/Audio/Spectrogram.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/tx.h>
}

namespace Tarsel::Tools {
namespace {

constexpr std::size_t s_window = 2048;
constexpr std::size_t s_hop = s_window / 4;
constexpr std::size_t s_bins = s_window / 2 + 1;
constexpr std::size_t s_mostColumns = 4096;
constexpr double s_lowest = 40;
constexpr double s_floor = -100;

/// From silence to full scale, in equal steps: darker ones are darker in print too.
constexpr std::array<std::array<double, 3>, 6> s_heat{
    {{0, 0, 6}, {42, 16, 92}, {128, 32, 108}, {210, 72, 66}, {252, 160, 40}, {255, 252, 220}}};

std::array<std::uint8_t, 3> ColorOf(double decibels) {
    double const place = std::clamp(1 - decibels / s_floor, 0.0, 1.0) * (s_heat.size() - 1);
    auto const below = std::min(static_cast<std::size_t>(place), s_heat.size() - 2);
    double const share = place - static_cast<double>(below);
    std::array<std::uint8_t, 3> color{};
    for (std::size_t i = 0; i < color.size(); ++i)
        color[i] = static_cast<std::uint8_t>(
            std::lround(s_heat[below][i] * (1 - share) + s_heat[below + 1][i] * share));
    return color;
}

} // namespace

struct Spectrogram::Transform {
    struct Free {
        void operator()(AVTXContext* owned) const noexcept { av_tx_uninit(&owned); }
    };

    Transform() {
        AVTXContext* made = nullptr;
        float const factor = 1;
        if (av_tx_init(&made, &run, AV_TX_FLOAT_RDFT, 0, s_window, &factor, 0) < 0)
            Core::Throw<Core::MemoryException>("Unable to allocate memory for a Fourier transform");
        context.reset(made);
        for (std::size_t i = 0; i < s_window; ++i)
            hann[i] = static_cast<float>(
                (1 - std::cos(2 * std::numbers::pi * static_cast<double>(i) / s_window)) / 2);
    }

    /// Adds the power of each frequency of `samples` times `weight`; a full-scale sine has 1.
    void AddPower(std::vector<float> const& samples, float weight, std::vector<float>& power) {
        constexpr float full = 4.0F / s_window; // the window halves a sine, of which half is in either sign
        for (std::size_t i = 0; i < s_window; ++i)
            in[i] = i < samples.size() ? samples[i] * hann[i] : 0;
        run(context.get(), out.data(), in.data(), sizeof(float));
        for (std::size_t i = 0; i < s_bins; ++i) {
            float const real = out[2 * i] * full;
            float const imaginary = out[2 * i + 1] * full;
            power[i] += (real * real + imaginary * imaginary) * weight;
        }
    }

    std::unique_ptr<AVTXContext, Free> context;
    av_tx_fn run = nullptr;
    std::array<float, s_window> hann{};
    alignas(64) std::array<float, s_window> in{};
    alignas(64) std::array<float, 2 * s_bins> out{};
};

Spectrogram::Spectrogram(Conf::SampleInfo const& format)
    : m_format(format), m_planar(format), m_transform(std::make_unique<Transform>()),
      m_samples(format.layout.channels), m_sum(s_bins) {
    m_planar.format = Conf::SampleFormats::FloatPlanar;
    if (m_planar != m_format)
        m_converter = Proc::SafeSwrContext({m_format, m_planar});
}

Spectrogram::Spectrogram(Spectrogram&& other) noexcept = default;

Spectrogram::~Spectrogram() = default;

void Spectrogram::Add(Proc::IDataAudio const& block) {
    AVFrame const* planar = block.GetAVFrame();
    std::optional<Proc::SafeFrame> converted;
    if (m_converter) {
        converted = m_converter.Convert(*planar);
        if (!converted)
            return;
        planar = converted->Get();
    }
    for (std::size_t channel = 0; channel < m_samples.size(); ++channel) {
        auto const* const samples = reinterpret_cast<float const*>(planar->extended_data[channel]);
        m_samples[channel].insert(m_samples[channel].end(), samples, samples + planar->nb_samples);
    }
    while (m_samples.front().size() >= s_window)
        AddWindow();
}

void Spectrogram::AddWindow() {
    float const weight = 1.0F / static_cast<float>(m_samples.size());
    for (std::vector<float>& samples : m_samples) {
        m_transform->AddPower(samples, weight, m_sum);
        samples.erase(samples.begin(),
                      samples.begin() + static_cast<std::ptrdiff_t>(std::min(s_hop, samples.size())));
    }
    if (++m_summed < m_windowsAColumn)
        return;
    for (float& power : m_sum)
        power /= static_cast<float>(m_summed);
    m_columns.push_back(std::exchange(m_sum, std::vector<float>(s_bins)));
    m_summed = 0;
    if (m_columns.size() < s_mostColumns)
        return;
    for (std::size_t i = 0; i < s_mostColumns / 2; ++i)
        for (std::size_t bin = 0; bin < s_bins; ++bin)
            m_columns[i][bin] = (m_columns[2 * i][bin] + m_columns[2 * i + 1][bin]) / 2;
    m_columns.resize(s_mostColumns / 2);
    m_windowsAColumn *= 2;
}

std::uint32_t Spectrogram::GetRow(double hertz, std::uint32_t height) const {
    double const place = std::log(hertz / s_lowest) / std::log(m_format.rate / 2.0 / s_lowest);
    return static_cast<std::uint32_t>(std::clamp(std::lround((1 - place) * height), 0L, long{height} - 1));
}

SP<Proc::IDataVideo> Spectrogram::Draw(std::uint32_t width, std::uint32_t height) const {
    auto picture = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace(), Conf::PixFmt::RGB24,
                                             Conf::FrameInfo{width, height, 1, 1});
    Proc::WritablePlane const plane = picture->GetWritablePlane(0);
    double const binsAHertz = static_cast<double>(s_window) / m_format.rate;
    auto const binAt = [&](std::uint32_t row) { // at the upper edge of a row
        double const hertz = s_lowest * std::pow(m_format.rate / 2.0 / s_lowest, 1 - double(row) / height);
        return std::min(static_cast<std::size_t>(std::lround(hertz * binsAHertz)), s_bins - 1);
    };
    for (std::uint32_t row = 0; row < height; ++row) {
        std::size_t const last = binAt(row);
        std::size_t const first = std::min(binAt(row + 1), last);
        std::uint8_t* pixel = plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize;
        for (std::uint32_t x = 0; x < width; ++x) {
            float power = 0;
            std::size_t const from = m_columns.size() * x / width;
            std::size_t const to = std::max(from + 1, m_columns.size() * (x + 1) / width);
            for (std::size_t column = from; column < std::min(to, m_columns.size()); ++column)
                power =
                    std::max(power, *std::max_element(m_columns[column].begin() + std::ptrdiff_t(first),
                                                      m_columns[column].begin() + std::ptrdiff_t(last) + 1));
            pixel = std::ranges::copy(ColorOf(power > 0 ? 10 * std::log10(power) : s_floor), pixel).out;
        }
    }
    return picture;
}

} // namespace Tarsel::Tools
