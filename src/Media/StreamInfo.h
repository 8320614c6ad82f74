#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/DisplayMatrix.h"
#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Conf/SampleInfo.h"
#include "Core/Ratio.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tarsel::Media {

/// The picture stream that is about to be worked on.
struct VideoStreamInfo {
    Conf::FrameInfo frame;
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;
    /// Nominal frames a second; 0/1 when unknown.
    Ratio frameRate;
    /// Seconds a tick of the stream's time stamps.
    Ratio timeBase;
    /// The stream's orientation tag; DisplayMatrix::s_default without one.
    Conf::DisplayMatrix orientation;
    /// FFmpeg's name of the codec.
    std::string codec;
    /// Why the stream cannot be copied as it is, "\"out.webm\" cannot hold h264"; "" when a null chain copies
    /// it.
    std::string copyObstacle;
    /// When the first picture is shown, in the microseconds that pictures are stamped with.
    std::int64_t start = 0;
    /// A file of audio has it as its cover.
    bool isCover = false;
};

/// Makes the work on the picture, once the stream is known. With a null result the picture stream is copied
/// untouched where that can be (VideoStreamInfo::copyObstacle is empty); elsewhere it is re-encoded, and
/// its orientation tag is lost, with a note: a chain that turns the pictures keeps them upright.
using MakeVideoEffects = std::function<std::unique_ptr<Proc::IEffectStreamVideo>(VideoStreamInfo const&)>;

/// An audio stream of the input.
struct AudioStreamInfo {
    /// Among the audio streams, from 0.
    int number = 0;
    /// Of the decoded blocks, all of them. One or two channels always have a mask; more of them have that of
    /// the stream, or none.
    Conf::SampleInfo format;
    /// Seconds a tick of the stream's time stamps.
    Ratio timeBase;
    /// FFmpeg's name of the codec.
    std::string codec;
    /// As the file states it, "deu"; "" where it does not.
    std::string language;
    /// Why the stream cannot be copied as it is, "\"out.webm\" cannot hold aac"; "" when a null chain copies
    /// it.
    std::string copyObstacle;
    /// Bits of a sample that carry audio: those of a codec without loss, 16 for others, whose noise hides
    /// more.
    int depth = 16;
};

/// The work on one audio stream.
struct AudioEffects {
    /// Null: the stream is copied where it can be (AudioStreamInfo::copyObstacle is empty), else re-encoded
    /// with a note, and left out with a note only where it cannot even be that. A chain is fed blocks of the
    /// stream's format, each beginning where the one before ended. It hands out blocks at their own times:
    /// 40 ms beside the end of the one before is taken for inexact, unless it lasts; beyond that a gap
    /// becomes silence and an overlap is cut.
    std::unique_ptr<Proc::IEffectStreamAudio> chain;
    /// Of the blocks that come out: what is encoded. Others are converted to it, with a note. Not looked at
    /// without a chain.
    Conf::SampleInfo output;
    /// Bits of a sample of `output` that carry audio, for which a file of plain samples, and what an encoder
    /// without loss is told, is made to fit. 0: as many as in the stream, whatever format the work is done
    /// in: an effect that reckons with real numbers makes no more of 16 bits. So it is to be set where the
    /// user asks for another format: 32 for s32 or flt, 16 for s16.
    int depth = 0;
};

/// Makes the work on an audio stream: called once for each of the input, in order, before anything is
/// written, on the thread that runs.
using MakeAudioEffects = std::function<AudioEffects(AudioStreamInfo const&)>;

} // namespace Tarsel::Media
