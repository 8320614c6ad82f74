#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/IFormatCodecVideo.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Data to try effects with, and what can be read of them. All functions: any thread; MemoryException.
namespace Tarsel::Check {

/// The names of one medium, and the forms that its data have.
struct Video {
    using Effect = Proc::IOneInputEffectVideo;
    using Data = Proc::IDataVideo;
    using Format = Conf::IFormatCodecVideo;
    using Stream = Proc::IEffectStreamVideo;
    using Details = Proc::IEffectDetailsVideo;

    struct Form {
        Conf::PixFmt format = Conf::PixFmt::YUV420P;
        std::uint32_t width = 64;
        std::uint32_t height = 48;

        friend bool operator==(Form const&, Form const&) = default;
    };
    /// Between two data, in microseconds.
    static constexpr std::int64_t step = 40000;
};

struct Audio {
    using Effect = Proc::IOneInputEffectAudio;
    using Data = Proc::IDataAudio;
    using Format = Conf::IFormatCodecAudio;
    using Stream = Proc::IEffectStreamAudio;
    using Details = Proc::IEffectDetailsAudio;

    struct Form {
        Conf::SampleInfo info{Conf::SampleFormats::FloatPlanar, 48000, {3, 2}};
        int samples = 1920;

        friend bool operator==(Form const&, Form const&) = default;
    };
    static constexpr std::int64_t step = 40000;
};

/// "yuv420p 64x48"; "fltp, 48000 Hz, stereo, 1920 samples".
std::string GetText(Video::Form const& form);
std::string GetText(Audio::Form const& form);

/// Bytes of a palette.
constexpr std::size_t s_paletteBytes = 1024;

/// Forms to try first: the ones that most effects take.
std::vector<Video::Form> GetUsualForms(Video);
std::vector<Audio::Form> GetUsualForms(Audio);
/// As many forms as a level is worth, from common ones to all formats and odd and tiny sizes.
std::vector<Video::Form> GetForms(Video, int level);
std::vector<Audio::Form> GetForms(Audio, int level);

/// Datum `index` of a stream: edges, slopes and noise that move; audio of tones and noise at half the full
/// scale. Time index * step, duration step.
SP<Proc::IDataVideo> MakeDatum(Video::Form const& form, int index);
SP<Proc::IDataAudio> MakeDatum(Audio::Form const& form, int index);

/// The description of a stream of such data, 25 frames a second.
SP<Conf::IFormatCodecVideo> MakeFormat(Video::Form const& form);
SP<Conf::IFormatCodecAudio> MakeFormat(Audio::Form const& form);

Video::Form GetForm(Proc::IDataVideo const& data);
Audio::Form GetForm(Proc::IDataAudio const& data);
/// What a description states; of audio without the number of samples, which it does not have: 0.
Video::Form GetForm(Conf::IFormatCodecVideo const& format);
Audio::Form GetForm(Conf::IFormatCodecAudio const& format);

/// The pixels (top row first, no padding, a palette after them), or the samples plane after plane.
std::string GetContent(Proc::IDataVideo const& data);
std::string GetContent(Proc::IDataAudio const& data);

/// All that can be told from outside: form, time, duration, content.
template <class Data>
std::string GetAll(Data const& data) {
    return GetText(GetForm(data)) + ' ' + std::to_string(data.GetTime()) + '+' +
           std::to_string(data.GetDuration()) + ' ' + GetContent(data);
}

/// That of each.
template <class Data>
std::vector<std::string> GetAllOf(std::vector<SP<Data>> const& data) {
    std::vector<std::string> texts;
    for (SP<Data> const& datum : data)
        texts.push_back(GetAll(*datum));
    return texts;
}

/// Changes every byte of the content.
void Invert(Proc::IDataVideo& data);
void Invert(Proc::IDataAudio& data);

} // namespace Tarsel::Check
