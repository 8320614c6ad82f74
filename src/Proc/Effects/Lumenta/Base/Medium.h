#pragma once

#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGVideo.h"
#include "Proc/Effects/Lumenta/Graph/FormatCache.h"
#include "Proc/Effects/Lumenta/Graph/SampleTimes.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <cstdint>
#include <type_traits>

namespace Tarsel::Proc {

/// What code for both media calls the one and the other by.
struct VideoMedium {
    using Effect = IOneInputEffectVideo;
    using Stream = IEffectStreamVideo;
    using Details = IEffectDetailsVideo;
    using Data = IDataVideo;
    using Codec = Conf::IFormatCodecVideo;
    using Graph = EffectFFMPEGVideo;
    using Format = Conf::PixFmt;
    using Info = Conf::FrameInfo;

    static constexpr IEffect::FrameType s_frameType = IEffect::VideoFrames;
    static constexpr char const* s_nullFed = "A null frame cannot be fed";
    /// Data pass untouched where their filter description is empty.
    static constexpr bool s_passesByNoText = false;

    static Format GetFormat(Data const& data) { return data.GetPixelFormat(); }
    static Format GetFormat(Codec const& codec) { return codec.GetPixelFormat(); }
    static void SetFormat(Codec& codec, Format format) { codec.SetPixelFormat(format); }
    static Info GetInfo(Data const& data) { return data.GetFrameInfo(); }
    static Info GetInfo(Codec const& codec) { return codec.GetFrameInfo(); }
    static FormatCache& GetCache() { return GetVideoFormatCache(); }

    /// Frames have the times of the sink.
    class Times {
    public:
        explicit Times(Data const&) noexcept {}
        void Push(Data const&) noexcept {}
        void Stamp(Data&) noexcept {}
    };
};

struct AudioMedium {
    using Effect = IOneInputEffectAudio;
    using Stream = IEffectStreamAudio;
    using Details = IEffectDetailsAudio;
    using Data = IDataAudio;
    using Codec = Conf::IFormatCodecAudio;
    using Graph = EffectFFMPEGAudio;
    using Format = Conf::SampleFormats;
    using Info = Conf::SampleInfo;

    static constexpr IEffect::FrameType s_frameType = IEffect::AudioFrames;
    static constexpr char const* s_nullFed = "A null block cannot be fed";
    static constexpr bool s_passesByNoText = true;

    static Format GetFormat(Data const& data) { return data.GetSampleFormat(); }
    static Format GetFormat(Codec const& codec) { return codec.GetSampleFormat(); }
    static void SetFormat(Codec& codec, Format format) { codec.SetSampleFormat(format); }
    static Info GetInfo(Data const& data) { return data.GetSampleInfo(); }
    static Info GetInfo(Codec const& codec) { return codec.GetSampleInfo(); }
    static SampleFormatCache& GetCache() { return GetAudioFormatCache(); }

    /// Samples have the times that they went in with.
    class Times {
    public:
        explicit Times(Data const& first) : m_times(first.GetSampleInfo().rate) {}
        void Push(Data const& data) { m_times.Push(data.GetTime(), data.GetSampleCount()); }
        void Stamp(Data& data) { data.SetTime(m_times.Pop(data.GetSampleCount())); }

    private:
        SampleTimes m_times;
    };
};

/// The medium of effects with that interface.
template <class Interface>
using MediumOf =
    std::conditional_t<std::is_base_of_v<IOneInputEffectAudio, Interface>, AudioMedium, VideoMedium>;

} // namespace Tarsel::Proc
