#pragma once

#include "Proc/Algorithms/AudioAlg/SampleType.h"

#include <cstdint>
#include <cstring>

namespace Tarsel::Proc {

/// `Type` is what samples are stored as; `ToReal` gives them full scale at 1.0.
template <class T>
struct SampleTraits;

template <>
struct SampleTraits<unsigned char> {
    using Type = unsigned char;
    static constexpr SampleType SAMPLE_TYPE = SampleType::U8;
    static double ToReal(Type x) noexcept { return (x - 128) * 0.0078125; }
};

template <>
struct SampleTraits<short> {
    using Type = short;
    static constexpr SampleType SAMPLE_TYPE = SampleType::S16;
    static double ToReal(Type x) noexcept { return x / 32767.0; }
};

template <>
struct SampleTraits<int> {
    using Type = int;
    static constexpr SampleType SAMPLE_TYPE = SampleType::S32;
    static double ToReal(Type x) noexcept { return x / 2147483647.0; }
};

template <>
struct SampleTraits<float> {
    using Type = float;
    static constexpr SampleType SAMPLE_TYPE = SampleType::Float;
    static double ToReal(Type x) noexcept { return x; }
};

template <>
struct SampleTraits<double> {
    using Type = double;
    static constexpr SampleType SAMPLE_TYPE = SampleType::Double;
    static double ToReal(Type x) noexcept { return x; }
};

/// One sample at any address.
template <class T>
T ReadSample(std::uint8_t const* at) noexcept {
    T sample;
    std::memcpy(&sample, at, sizeof sample);
    return sample;
}

} // namespace Tarsel::Proc
