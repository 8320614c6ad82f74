#pragma once

#include "Media/Api.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarsel::Media {

/// What a stream of a file holds. A cover is an image beside audio.
enum class StreamKind : std::uint8_t { Video, Cover, Audio, Subtitles, Attachment, Data };
/// "video". Any thread.
TARSEL_MEDIA_API std::string_view GetStreamKindName(StreamKind kind) noexcept;

/// What becomes of a stream of the input: left out, copied packet by packet, decoded and encoded again, or,
/// of subtitles of text, brought into another format.
enum class Fate : std::uint8_t { Drop, Copy, Encode, Convert };
/// "encode". Any thread.
TARSEL_MEDIA_API std::string_view GetFateName(Fate fate) noexcept;

/// One stream of the input, and what becomes of it.
struct StreamPlan {
    StreamKind kind = StreamKind::Data;
    /// Among those of the kind, from 0, as StreamChoice counts.
    int number = 0;
    /// FFmpeg's name of the codec; "" where there is none.
    std::string codec;
    /// As the file states it, "deu"; "" where it does not.
    std::string language;
    /// Of what it decodes to, as far as the file says: "64x48 yuv420p", "48000 Hz fltp stereo"; "" of other
    /// kinds.
    std::string inputFormat;

    Fate fate = Fate::Drop;
    /// Why it is not copied, "\"out.webm\" cannot hold h264"; "" where it is.
    std::string reason;
    /// Its number among all streams of the output; −1 for one that is left out.
    int output = -1;
    /// FFmpeg's names of the codec in the output and of the encoder; "" where there is none.
    std::string outputCodec;
    std::string encoder;
    /// What the encoder is told, key and value in FFmpeg's words; threads apart.
    std::vector<std::pair<std::string, std::string>> encoderOptions;
    /// Of the frames or blocks that the encoder gets: "yuv420p", "48000 Hz s16 stereo".
    std::string format;
    /// What it costs, and what nobody asked for, one sentence each.
    std::vector<std::string> notes;
};

/// What becomes of each stream of a run's input. Complete before anything is written, and nothing departs
/// from it.
struct RunPlan {
    /// FFmpeg's names of the containers.
    std::string inputContainer;
    std::string outputContainer;
    /// What the writer of a pipe is told, key and value in FFmpeg's words.
    std::vector<std::pair<std::string, std::string>> writerOptions;
    /// By their index in the input.
    std::vector<StreamPlan> streams;
    /// Of the file as a whole, one sentence each.
    std::vector<std::string> notes;

    /// All notes, in the order of the streams, those of the whole last.
    TARSEL_MEDIA_API std::vector<std::string> ListNotes() const;
};

} // namespace Tarsel::Media
