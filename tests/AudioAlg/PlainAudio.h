#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

/// What the algorithms over samples are to give, one sample at a time, as it is written down and without a
/// thought of speed. T is the type of a sample.
namespace Tarsel::Proc::Plain {

__extension__ using Wide = __int128;

template <class T>
T Clip(T s) {
    if (std::isnan(s) || s < -1)
        return -1;
    return s > 1 ? T{1} : s;
}

inline std::int64_t Truncate(double value, int bits) {
    if (std::isnan(value))
        return 0;
    double const limit = std::ldexp(1.0, bits - 1);
    auto const largest = static_cast<std::int64_t>((std::uint64_t{1} << (bits - 1)) - 1);
    if (value >= limit)
        return largest;
    return value < -limit ? -largest - 1 : static_cast<std::int64_t>(value);
}

template <class T>
T Volumize(T s, double volume) {
    if constexpr (std::is_floating_point_v<T>) {
        double const v = static_cast<double>(s) * volume;
        return static_cast<T>(Clip(v));
    } else {
        std::int64_t const factor = Truncate(std::fma(volume, 256.0, 0.5), sizeof(T) == 4 ? 64 : 32);
        Wide const middle = std::is_same_v<T, std::uint8_t> ? 128 : 0;
        Wide q = ((Wide{s} - middle) * factor + 128) >> 8;
        if constexpr (std::is_same_v<T, std::uint8_t>)
            q = static_cast<std::int16_t>(static_cast<std::uint64_t>(q) & 0xFFFF);
        q += middle;
        if (q < std::numeric_limits<T>::min())
            return std::numeric_limits<T>::min();
        return q > std::numeric_limits<T>::max() ? std::numeric_limits<T>::max() : static_cast<T>(q);
    }
}

template <class T>
constexpr T s_silence = std::is_same_v<T, std::uint8_t> ? T{128} : T{0};

template <class T>
struct Voice {
    T sample;
    double volume;
};

/// 8-bit samples, whose volumes are in fixed point.
inline std::uint8_t MixBytes(std::vector<Voice<std::uint8_t>> const& voices) {
    double const limit = std::fmin(127, 32768.0 / static_cast<double>(voices.size()));
    std::vector<double> volumes;
    for (auto const& voice : voices)
        volumes.push_back(std::isnan(voice.volume) ? 0 : std::fmin(std::fmax(voice.volume, -limit), limit));
    auto const fits = [&](int bits) {
        double sum = 0;
        for (double const volume : volumes) {
            sum += std::abs(volume);
            if (std::abs(volume) * std::exp2(bits) > 32767)
                return false;
        }
        return sum * std::exp2(bits) <= 0x1p23;
    };
    int bits = 15;
    while (!fits(bits))
        --bits;
    double sum = 0;
    for (std::size_t k = 0; k < voices.size(); ++k)
        sum += (voices[k].sample - 128) * std::nearbyint(volumes[k] * std::exp2(bits));
    return static_cast<std::uint8_t>(
        std::fmin(std::fmax(std::floor(sum / std::exp2(bits) + 0.5), -128), 127) + 128);
}

/// A source that has ended is a voice of silence.
template <class T>
T Mix(std::vector<Voice<T>> const& voices) {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        return MixBytes(voices);
    } else {
        using Sum = std::conditional_t<sizeof(T) < 4, float, double>;
        Sum sum = 0;
        for (auto const& [sample, volume] : voices) {
            double const limited = std::isnan(volume) ? 0 : std::fmin(std::fmax(volume, -0x1p64), 0x1p64);
            Sum const product = static_cast<Sum>(sample) * static_cast<Sum>(limited);
            sum = sum + product;
        }
        if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(Clip(sum));
        using Limits = std::numeric_limits<T>;
        double const value = std::nearbyint(sum);
        return value < Limits::min()   ? Limits::min()
               : value > Limits::max() ? Limits::max()
                                       : static_cast<T>(value);
    }
}

inline double ToReal(std::uint8_t s) {
    return (s - 128) * 0.0078125;
}
inline double ToReal(std::int16_t s) {
    return s / 32767.0;
}
inline double ToReal(std::int32_t s) {
    return s / 2147483647.0;
}
inline double ToReal(double s) {
    return s;
}

} // namespace Tarsel::Proc::Plain
