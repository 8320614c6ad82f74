#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Data/DataAudioFF.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

/// Blocks of audio for tests, sample by sample: whole numbers of integer formats, as they lie, are shown as
/// real ones from -1 to 1.
namespace Tarsel::Test {

namespace Details {

template <class T>
double Load(std::uint8_t const* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    return static_cast<double>(value);
}

template <class T>
void Store(std::uint8_t* place, double value) {
    T const stored = static_cast<T>(value);
    std::memcpy(place, &stored, sizeof stored);
}

/// How samples of one type lie in memory: the number that stands for silence, and what one step is worth (0
/// for real numbers).
struct SampleType {
    double silence;
    double step;
    double (*load)(std::uint8_t const* place);
    void (*store)(std::uint8_t* place, double number);
};

/// In the order of the packed formats, and of the planar ones.
constexpr SampleType s_types[] = {
    {128, 0x1p-7, Load<std::uint8_t>, Store<std::uint8_t>},
    {0, 0x1p-15, Load<std::int16_t>, Store<std::int16_t>},
    {0, 0x1p-31, Load<std::int32_t>, Store<std::int32_t>},
    {0, 0, Load<float>, Store<float>},
    {0, 0, Load<double>, Store<double>},
};

inline SampleType const& TypeOf(Conf::SampleFormats format) {
    return s_types[static_cast<std::size_t>(format) % std::size(s_types)];
}

inline std::uint8_t* PlaceOf(AVFrame const& frame, int channel, std::int64_t sample) {
    auto const& record = Conf::SampleFmtRecord::Find(static_cast<Conf::SampleFormats>(frame.format));
    std::int64_t const index = record.planar ? sample : sample * frame.ch_layout.nb_channels + channel;
    return frame.extended_data[record.planar ? channel : 0] + index * record.size;
}

} // namespace Details

/// What one step of the format is worth; 0 for formats of real numbers.
inline double StepOf(Conf::SampleFormats format) {
    return Details::TypeOf(format).step;
}

/// As it lies there.
inline double GetNumber(AVFrame const& frame, int channel, std::int64_t sample) {
    auto const& type = Details::TypeOf(static_cast<Conf::SampleFormats>(frame.format));
    return type.load(Details::PlaceOf(frame, channel, sample));
}

inline double GetSample(AVFrame const& frame, int channel, std::int64_t sample) {
    auto const& type = Details::TypeOf(static_cast<Conf::SampleFormats>(frame.format));
    double const number = GetNumber(frame, channel, sample);
    return type.step == 0 ? number : (number - type.silence) * type.step;
}

/// The nearest value that the format has.
inline void SetSample(AVFrame& frame, int channel, std::int64_t sample, double value) {
    auto const& type = Details::TypeOf(static_cast<Conf::SampleFormats>(frame.format));
    double const number =
        type.step == 0
            ? value
            : std::clamp(std::round(value / type.step), -1 / type.step, 1 / type.step - 1) + type.silence;
    type.store(Details::PlaceOf(frame, channel, sample), number);
}

/// A block whose samples are `value(channel, sample)`.
inline SP<Proc::DataAudioFF> MakeAudio(Conf::SampleInfo const& info, int samples,
                                       std::function<double(int, std::int64_t)> const& value) {
    SP<Proc::DataAudioFF> const block = Proc::DataAudioFF::CreateBySampleCount(info, samples);
    for (int channel = 0; channel < info.layout.channels; ++channel)
        for (int i = 0; i < samples; ++i)
            SetSample(*block->GetAVFrame(), channel, i, value(channel, i));
    return block;
}

/// Reproducible noise, loud but within what every format can carry.
inline SP<Proc::DataAudioFF> MakeAudioNoise(Conf::SampleInfo const& info, int samples) {
    std::minstd_rand random;
    std::uniform_real_distribution<double> level(-0.99, 0.99);
    return MakeAudio(info, samples, [&](int, std::int64_t) { return level(random); });
}

/// `count` samples of a block from number `first` on, at their time; blocks without a time stay so.
inline SP<Proc::DataAudioFF> CutAudio(Proc::IDataAudio const& block, int first, int count) {
    Conf::SampleInfo const info = block.GetSampleInfo();
    AVFrame const& from = *block.GetAVFrame();
    SP<Proc::DataAudioFF> const part = Proc::DataAudioFF::CreateBySampleCount(info, count);
    bool const planar = Conf::SampleFmtRecord::Find(info.format).planar;
    auto const bytes = static_cast<std::size_t>(Conf::SampleFmtRecord::Find(info.format).size) *
                       static_cast<std::size_t>(count) * (planar ? 1U : info.layout.channels);
    for (int plane = 0; plane < (planar ? info.layout.channels : 1); ++plane)
        std::memcpy(part->GetAVFrame()->extended_data[plane], Details::PlaceOf(from, plane, first), bytes);
    part->SetTime(block.GetTime());
    if (block.GetTime() != std::numeric_limits<std::int64_t>::min())
        part->SetTime(block.GetTime() + std::llround(first * 1e6 / info.rate));
    return part;
}

/// Samples of all channels, one channel after the other.
using Channels = std::vector<std::vector<double>>;

inline void AppendAudio(Channels& audio, AVFrame const& block) {
    audio.resize(static_cast<std::size_t>(block.ch_layout.nb_channels));
    for (int channel = 0; channel < block.ch_layout.nb_channels; ++channel)
        for (int i = 0; i < block.nb_samples; ++i)
            audio[static_cast<std::size_t>(channel)].push_back(GetSample(block, channel, i));
}

} // namespace Tarsel::Test
