#pragma once

#include "Proc/Algorithms/AudioAlg/AudioRef.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>
#include <type_traits>
#include <vector>

namespace Tarsel::Proc {

using Bytes = std::vector<std::uint8_t>;
using SampleTypes = std::tuple<std::uint8_t, std::int16_t, std::int32_t, float, double>;

/// Calls action(T()) for each type of sample.
template <class Action>
void ForEachType(Action const& action) {
    std::apply([&](auto... type) { (action(type), ...); }, SampleTypes());
}

template <class T>
constexpr Conf::SampleFormats PackedFormat() {
    constexpr std::size_t kind = std::is_floating_point_v<T> ? sizeof(T) / 4 + 2 : sizeof(T) / 2;
    return static_cast<Conf::SampleFormats>(kind);
}

template <class T>
constexpr Conf::SampleFormats PlanarFormat() {
    return static_cast<Conf::SampleFormats>(static_cast<std::uint32_t>(PackedFormat<T>()) + 5);
}

template <class T>
T Get(std::uint8_t const* memory, std::size_t index) {
    T sample;
    std::memcpy(&sample, memory + index * sizeof(T), sizeof sample);
    return sample;
}

template <class T>
void Put(std::uint8_t* memory, std::size_t index, T sample) {
    std::memcpy(memory + index * sizeof(T), &sample, sizeof sample);
}

template <class T>
Bytes ToBytes(std::vector<T> const& samples) {
    Bytes bytes(samples.size() * sizeof(T));
    if (!bytes.empty())
        std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

/// A view of packed audio of one channel.
template <class T>
AudioRef MonoRef(std::uint8_t* samples, std::size_t count) {
    return {count, {PackedFormat<T>(), 48000, {0, 1}}, samples, static_cast<std::int32_t>(count * sizeof(T))};
}

/// Samples among which the awkward ones are frequent.
template <class T>
class SampleNoise {
public:
    T operator()() {
        using Limits = std::numeric_limits<T>;
        if (m_random() % 4 != 0) {
            if constexpr (std::is_floating_point_v<T>)
                return static_cast<T>(static_cast<double>(m_random()) / 1e9 - 2.1);
            else
                return static_cast<T>(m_random());
        }
        if constexpr (std::is_floating_point_v<T>) {
            std::array const awkward{T{0},
                                     -T{0},
                                     T{1},
                                     T{-1},
                                     std::nextafter(T{1}, T{2}),
                                     std::nextafter(T{-1}, T{-2}),
                                     Limits::max(),
                                     Limits::lowest(),
                                     Limits::denorm_min(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     Limits::quiet_NaN()};
            return awkward[m_random() % awkward.size()];
        } else {
            std::array const awkward{T{0},
                                     T{1},
                                     static_cast<T>(-1),
                                     static_cast<T>(127),
                                     static_cast<T>(128),
                                     Limits::min(),
                                     Limits::max(),
                                     static_cast<T>(Limits::max() - 1)};
            return awkward[m_random() % awkward.size()];
        }
    }

private:
    std::mt19937 m_random{7};
};

/// Memory with samples somewhere inside, at any address; what is beside them is compared too.
template <class T>
Bytes MakeMemory(SampleNoise<T>& noise, std::size_t start, std::size_t count) {
    constexpr std::size_t beside = 64;
    Bytes memory(start + count * sizeof(T) + beside, 0xA5);
    for (std::size_t i = 0; i < count; ++i)
        Put(memory.data() + start, i, noise());
    return memory;
}

} // namespace Tarsel::Proc
