#include "Check/Data.h"

#include "Conf/FormatCodecAudio.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

namespace Tarsel::Check {
namespace {

using Conf::SampleFormats;

template <class T>
void Put(std::span<std::uint8_t> plane, std::size_t index, T sample) {
    std::memcpy(plane.data() + index * sizeof sample, &sample, sizeof sample);
}

void PutSample(std::span<std::uint8_t> plane, std::size_t index, SampleFormats format, double value) {
    Conf::SampleFmtRecord const& record = Conf::SampleFmtRecord::Find(format);
    if (record.size == 1)
        Put(plane, index, static_cast<std::uint8_t>(std::lround(128 + 127 * value)));
    else if (record.size == 2)
        Put(plane, index, static_cast<std::int16_t>(std::lround(32767 * value)));
    else if (!Conf::IsReal(format))
        Put(plane, index, static_cast<std::int32_t>(std::lround(2147483647 * value)));
    else if (record.size == 4)
        Put(plane, index, static_cast<float>(value));
    else
        Put(plane, index, value);
}

/// Two tones and noise, of half the full scale.
double GetValue(std::int64_t sample, int channel, std::int32_t rate, std::mt19937& random) {
    double const turns = 2 * std::numbers::pi * static_cast<double>(sample) / rate;
    double const noise = static_cast<double>(random()) / 2147483648.0 - 1;
    return 0.25 * std::sin(turns * 440) + 0.2 * std::sin(turns * 97 * (channel + 1)) + 0.05 * noise;
}

} // namespace

std::string GetText(Audio::Form const& form) {
    std::string const samples = form.samples > 0 ? fmt::format(", {} samples", form.samples) : "";
    return Proc::AudioText(form.info) + samples;
}

std::vector<Audio::Form> GetUsualForms(Audio) {
    return {{}, {{SampleFormats::S16, 44100, {3, 2}}, 1764}, {{SampleFormats::Float, 48000, {4, 1}}, 1920}};
}

std::vector<Audio::Form> GetForms(Audio, int level) {
    std::vector<Audio::Form> forms = GetUsualForms(Audio());
    for (std::uint32_t format = 0; format <= static_cast<std::uint32_t>(SampleFormats::DoublePlanar);
         ++format)
        forms.push_back({{static_cast<SampleFormats>(format), 44100, {3, 2}}, 1764});
    if (level >= 5) {
        for (std::uint8_t channels = 1; channels <= 16; ++channels)
            forms.push_back({{SampleFormats::S32, 48000, Conf::ChannelLayout::FromCount(channels)}, 480});
        for (std::int32_t const rate : {1, 8000, 11025, 96000, 192000, 384000})
            forms.push_back({{SampleFormats::FloatPlanar, rate, {3, 2}}, 1000});
        for (int const samples : {0, 1, 7, 100000})
            forms.push_back({{SampleFormats::S16Planar, 48000, {3, 2}}, samples});
    }
    return forms;
}

SP<Proc::IDataAudio> MakeDatum(Audio::Form const& form, int index) {
    SP<Proc::IDataAudio> block = Proc::DataAudioFF::CreateBySampleCount(form.info, form.samples);
    auto const& record = Conf::SampleFmtRecord::Find(form.info.format);
    int const channels = form.info.layout.channels;
    std::mt19937 random(static_cast<std::uint32_t>(index) + 1);
    for (int channel = 0; channel < channels; ++channel) {
        auto const plane = Proc::GetWritableSamples(*block, record.planar ? channel : 0);
        for (int i = 0; i < form.samples; ++i) {
            int const place = record.planar ? i : i * channels + channel;
            PutSample(plane, static_cast<std::size_t>(place), form.info.format,
                      GetValue(std::int64_t{index} * form.samples + i, channel, form.info.rate, random));
        }
    }
    // As long as its samples, whatever the step of the medium is.
    auto const at = [&](std::int64_t samples) { return samples * 1000000 / form.info.rate; };
    block->SetTime(at(std::int64_t{index} * form.samples));
    block->SetDuration(at((std::int64_t{index} + 1) * form.samples) - block->GetTime());
    return block;
}

SP<Conf::IFormatCodecAudio> MakeFormat(Audio::Form const& form) {
    return MakeSP<Conf::FormatCodecAudio>(form.info);
}

Audio::Form GetForm(Proc::IDataAudio const& data) {
    return {data.GetSampleInfo(), static_cast<int>(data.GetSampleCount())};
}

Audio::Form GetForm(Conf::IFormatCodecAudio const& format) {
    return {format.GetSampleInfo(), 0};
}

std::string GetContent(Proc::IDataAudio const& data) {
    std::string content;
    for (int i = 0; i < Proc::GetSamplePlaneCount(data); ++i) {
        auto const plane = Proc::GetReadOnlySamples(data, i);
        content.append(reinterpret_cast<char const*>(plane.data()), plane.size());
    }
    return content;
}

void Invert(Proc::IDataAudio& data) {
    for (int i = 0; i < Proc::GetSamplePlaneCount(data); ++i)
        for (std::uint8_t& byte : Proc::GetWritableSamples(data, i))
            byte = static_cast<std::uint8_t>(~byte);
}

} // namespace Tarsel::Check
