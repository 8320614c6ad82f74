#include "Tools/Tarsel/Gallery/Material.h"

#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

constexpr double s_pi = std::numbers::pi;

/// Light of each color, 0 to 1.
using Light = std::array<double, 3>;

/// 0 to 1 for each place on a grid: MurmurHash3's last step.
double Hash(std::int64_t x, std::int64_t y, std::uint32_t seed) {
    auto bits =
        static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U ^ seed;
    bits = (bits ^ bits >> 16) * 0x85EBCA6BU;
    bits = (bits ^ bits >> 13) * 0xC2B2AE35U;
    return static_cast<double>(bits ^ bits >> 16) / 4294967296.0;
}

double Smooth(double share) {
    double const x = std::clamp(share, 0.0, 1.0);
    return x * x * (3 - 2 * x);
}

/// Smooth between the values of a grid of side 1.
double Noise(double x, double y, std::uint32_t seed) {
    double const left = std::floor(x);
    double const top = std::floor(y);
    auto const at = [&](int dx, int dy) {
        return Hash(static_cast<std::int64_t>(left) + dx, static_cast<std::int64_t>(top) + dy, seed);
    };
    double const u = Smooth(x - left);
    return std::lerp(std::lerp(at(0, 0), at(1, 0), u), std::lerp(at(0, 1), at(1, 1), u), Smooth(y - top));
}

/// Octaves of noise, each half as strong as the one before; 0 to 1.
double Texture(double x, double y, std::uint32_t seed) {
    double sum = 0;
    double weight = 0.5;
    for (std::uint32_t octave = 0; octave < 5; ++octave, weight /= 2, x *= 2, y *= 2)
        sum += weight * Noise(x, y, seed + octave);
    return sum;
}

Light Mix(Light const& a, Light const& b, double share) {
    return {std::lerp(a[0], b[0], share), std::lerp(a[1], b[1], share), std::lerp(a[2], b[2], share)};
}

/// A ball with light from the upper left; sizes in heights of the frame.
struct Ball {
    double x;
    double y;
    double radius;
    Light color;
};
constexpr std::array<Ball, 5> s_balls{{{0.30, 0.72, 0.13, {0.86, 0.62, 0.48}},   // skin
                                       {0.62, 0.80, 0.10, {0.80, 0.12, 0.10}},   // a tomato
                                       {0.90, 0.70, 0.16, {0.45, 0.30, 0.20}},   // bark
                                       {1.20, 0.82, 0.09, {0.95, 0.78, 0.15}},   // a lemon
                                       {1.42, 0.74, 0.12, {0.18, 0.34, 0.70}}}}; // glaze

/// The scene; `x` and `y` in heights of the frame, `pixel` one pixel of it.
Light LookAt(double x, double y, double pixel) {
    Light const zenith{0.22, 0.45, 0.80};
    Light const horizon{0.80, 0.88, 0.95};
    Light color = Mix(zenith, horizon, Smooth(y / 0.55));
    color = Mix(color, {1, 1, 1}, 0.8 * Smooth((Texture(x * 2.2, y * 5, 7) - 0.5) * 4));
    double const ridge = 0.42 + 0.16 * (Texture(x * 1.4, 0, 21) - 0.5) + 0.03 * std::sin(x * 5);
    double const hill = 0.6 + 0.5 * Texture(x * 30, y * 30, 33);
    color = Mix(color, {0.20 * hill, 0.36 * hill, 0.14 * hill}, Smooth((y - ridge) / (2 * pixel)));
    double const weave =
        0.75 + 0.1 * std::sin(x * 260) * std::sin(y * 260) + 0.3 * (Texture(x * 60, y * 60, 5) - 0.5);
    color = Mix(color, {0.62 * weave, 0.52 * weave, 0.42 * weave}, Smooth((y - 0.66) / (2 * pixel)));
    for (Ball const& ball : s_balls) {
        double const dx = (x - ball.x) / ball.radius;
        double const dy = (y - ball.y) / ball.radius;
        double const shadow = std::hypot(dx - 0.25, (dy - 0.95) * 3.5);
        double const distance = std::hypot(dx, dy);
        double const edge = 1 - Smooth((distance - 1) * ball.radius / (2 * pixel) + 0.5);
        if (shadow < 1.4)
            color = Mix(color, {0.08, 0.07, 0.07}, 0.55 * (1 - Smooth(shadow - 0.4)));
        if (edge <= 0)
            continue;
        double const z = std::sqrt(std::max(0.0, 1 - distance * distance));
        double const lit = std::max(0.0, -0.5 * dx - 0.6 * dy + 0.62 * z);
        double const shine = 0.7 * std::pow(lit, 24);
        double const grain = 0.9 + 0.2 * Texture(x * 50, y * 50, 11);
        Light surface{};
        for (std::size_t c = 0; c < surface.size(); ++c)
            surface[c] = ball.color[c] * grain * (0.22 + 0.9 * lit) + shine;
        color = Mix(color, surface, edge);
    }
    return color;
}

constexpr double s_margin = 0.25; // heights of the frame to the right of it, and below

/// Pixels that a row is from where it belongs: to the right and down.
Point GetShift(Material material, std::uint32_t height, int frame, std::uint32_t row) {
    auto const pixels = [&](double heights) {
        return static_cast<std::uint32_t>(std::lround(std::clamp(heights, 0.0, s_margin) * height));
    };
    if (material == Material::Shaky)
        return {pixels(0.04 * Hash(frame, 0, 90)), pixels(0.04 * Hash(frame, 1, 90))};
    if (material == Material::Interlaced)
        return {pixels(0.02 * (frame + (row % 2) * 0.5)), 0};
    return {};
}

Light Tint(Material material, Light const& light, std::int64_t place, int frame) {
    constexpr double grain = 0.16;
    if (material == Material::Dusk)
        return {0.42 * light[0], 0.36 * light[1], 0.45 * light[2]};
    Light result = light;
    if (material == Material::Grainy)
        for (std::uint32_t c = 0; c < result.size(); ++c)
            result[c] += grain * (Hash(place, frame, 50 + c) + Hash(place, frame, 60 + c) - 1);
    return result;
}

} // namespace

Scene::Scene(Size size) : m_size(size), m_stride(size.width + GetMargin()) {
    double const pixel = 1.0 / size.height;
    m_lights.reserve(std::size_t{m_stride} * (size.height + GetMargin()));
    for (std::uint32_t y = 0; y < size.height + GetMargin(); ++y)
        for (std::uint32_t x = 0; x < m_stride; ++x)
            m_lights.push_back(LookAt(x * pixel, y * pixel, pixel));
}

std::uint32_t Scene::GetMargin() const noexcept {
    return static_cast<std::uint32_t>(m_size.height * s_margin) + 1;
}

SP<Proc::IDataVideo> Scene::MakeFrame(Material material, int number) const {
    constexpr std::int64_t duration = 40'000;
    SP<Proc::IDataVideo> frame = MakeSP<Proc::DataVideoFF>(
        Conf::ColorSpace(), Conf::PixFmt::RGB24, Conf::FrameInfo{m_size.width, m_size.height, 1, 1});
    Proc::WritablePlane const plane = frame->GetWritablePlane(0);
    for (std::uint32_t y = 0; y < m_size.height; ++y) {
        std::uint8_t* out = plane.data + static_cast<std::ptrdiff_t>(y) * plane.lineSize;
        auto const [right, down] = GetShift(material, m_size.height, number, y);
        std::size_t const row = std::size_t{m_stride} * (y + down) + right;
        for (std::uint32_t x = 0; x < m_size.width; ++x)
            for (double const light :
                 Tint(material, m_lights[row + x], static_cast<std::int64_t>(row + x), number))
                *out++ = static_cast<std::uint8_t>(std::lround(std::clamp(light, 0.0, 1.0) * 255));
    }
    frame->SetTime(number * duration);
    frame->SetDuration(duration);
    return frame;
}

std::vector<SP<Proc::IDataVideo>> Scene::MakeClip(Material material, int frames) const {
    std::vector<SP<Proc::IDataVideo>> clip;
    for (int i = 0; i < frames; ++i)
        clip.push_back(MakeFrame(material, i));
    return clip;
}

namespace {

struct Tone {
    double start;
    double hertz;
};
constexpr std::array<Tone, 8> s_tones{{{0.0, 220},
                                       {0.4, 277.2},
                                       {0.8, 329.6},
                                       {1.2, 440},
                                       {1.6, 329.6},
                                       {2.0, 277.2},
                                       {2.2, 220},
                                       {2.4, 164.8}}};

/// -1 to 1; `channel` moves tones to one side or the other.
double Play(std::int64_t sample, int rate, int channel) {
    double const time = static_cast<double>(sample) / rate;
    double sum = 0.004 * (Hash(sample, channel, 60) - 0.5);
    for (std::size_t i = 0; i < s_tones.size(); ++i) {
        double const age = time - s_tones[i].start;
        if (age < 0)
            continue;
        double const side = i % 2 == static_cast<std::size_t>(channel) ? 1 : 0.5;
        double const attack = 1 - std::exp(-age * 400);
        for (int harmonic = 1; harmonic <= 8; ++harmonic)
            sum += side * 0.28 / harmonic * attack * std::exp(-age * (2.5 + harmonic)) *
                   std::sin(2 * s_pi * s_tones[i].hertz * harmonic * age);
    }
    double const beat = std::fmod(time, 0.8) - 0.4; // between the tones
    if (beat >= 0)
        sum += 0.25 * std::exp(-beat * 40) * (2 * Hash(sample, channel, 61) - 1);
    return std::clamp(sum, -1.0, 1.0);
}

} // namespace

std::vector<SP<Proc::IDataAudio>> MakeMusic() {
    constexpr int rate = 32000;
    constexpr int block = 3200;
    constexpr int blocks = 25;
    constexpr std::int64_t microseconds = 1'000'000;
    Conf::SampleInfo const info{Conf::SampleFormats::FloatPlanar, rate, {AV_CH_LAYOUT_STEREO, 2}};
    std::vector<SP<Proc::IDataAudio>> music;
    for (int number = 0; number < blocks; ++number) {
        auto const data = Proc::DataAudioFF::CreateBySampleCount(info, block);
        for (int channel = 0; channel < 2; ++channel) {
            auto* const out = reinterpret_cast<float*>(data->GetAVFrame()->extended_data[channel]);
            for (int i = 0; i < block; ++i)
                out[i] = static_cast<float>(Play(std::int64_t{number} * block + i, rate, channel));
        }
        data->SetTime(number * microseconds * block / rate);
        data->SetDuration(microseconds * block / rate);
        music.push_back(data);
    }
    return music;
}

} // namespace Tarsel::Tools
