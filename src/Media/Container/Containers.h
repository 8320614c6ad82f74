#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct AVFormatContext;
struct AVInputFormat;
struct AVOutputFormat;

namespace Tarsel::Media {

/// How a container keeps cover pictures.
enum class Covers : std::uint8_t {
    None,
    /// As streams of pictures.
    Streams,
    /// As streams, and it has no other pictures.
    Only,
    /// As attached files; as streams they would play.
    Attachments
};

/// What has to be known of a container that FFmpeg does not tell. Those without a row have all as it stands
/// here.
struct ContainerTraits {
    /// FFmpeg's name of the writer.
    std::string_view name;
    /// Usual encoders for pictures and for audio, best first; empty: FFmpeg's own choice.
    std::array<char const*, 2> videoEncoders{};
    std::array<char const*, 2> audioEncoders{};
    /// The encoder for subtitles of text; null: it takes none that players would show.
    char const* textEncoder = nullptr;
    /// The codecs (AVCodecID) that players know in it where its writer takes more. Says nothing of kinds of
    /// streams of which it names no codec.
    std::span<int const> knownCodecs{};
    Covers covers = Covers::None;
    /// Extensions of files for audio alone, each ending in a blank, though it could hold pictures.
    std::string_view audioExtensions{};
    /// One picture, and nothing else.
    bool isStill = false;
    /// It is a folder of files.
    bool isManyFiles = false;
    /// Samples as they are: tags for other codecs are dead letters.
    bool isPlainAudio = false;
    /// It takes its own codec only, and does not say so.
    bool takesOwnCodecOnly = false;
    /// Of the family of QuickTime and MP4.
    bool isMovFamily = false;
    /// Video that begins late keeps its times, and what was written in parts can be put together: no frame is
    /// made up for the time before.
    bool holdsParts = false;
    /// It has a constant rate and counts in frames.
    bool countsFrames = false;
    /// The only rate of its audio, in samples a second; 0: any.
    int audioRate = 0;
    /// Its audio starts with the file, whatever the times of its packets.
    bool startsAudioAtZero = false;
    /// It says whether values of pictures use their full range.
    bool saysRange = false;
    /// It wants H.264 and HEVC with start codes.
    bool wantsStartCodes = false;
    /// It has attached files.
    bool hasAttachments = false;
    /// Tags that it holds and its reader passes over, with blanks between.
    std::string_view unreadTags{};
    /// What its writer wants to be told, key and value: to write tags, or files of more than 4 GB.
    std::array<char const*, 2> writerOption{};
    /// It has a place for the alpha that stands beside VP8 and VP9.
    bool hasSideAlpha = false;
    /// Its writer goes back to complete what it began with, so that it cannot be written into a pipe.
    bool needsFile = false;
    /// What its writer has to be told in order not to go back, keys and values.
    std::array<std::array<char const*, 2>, 2> pipeOptions{};
    /// What it does not say in a pipe that matters to players, for a note.
    char const* pipeLoss = nullptr;
    /// It has no place for chapters.
    bool losesChapters = false;
    /// Chapters stand beside streams of this codec (AVCodecID) only; 0: of any.
    int chapterCodec = 0;
    /// It numbers languages, of which QuickTime's list knows each by one code only.
    bool numbersLanguages = false;
    /// It keeps no times, and FFmpeg does not say so.
    bool keepsNoTimes = false;
    /// The numbers of its streams mean something to players.
    bool hasStreamIds = false;
    /// Raw pictures are known by a tag, and without one by the bits of a pixel; then these formats (by name,
    /// with blanks between) come back as what they were. Empty: as any other codec.
    bool knowsRawByTag = false;
    std::string_view plainRawFormats{};
};

/// What kind of file is written.
struct Container {
    AVOutputFormat const* format = nullptr;
    /// The name by which codecs are guessed: the output's without its folder, or, where the container is
    /// named otherwise, with the extension that stands for it.
    std::filesystem::path file;
    /// What messages call it: "\"out.mkv\"", or "mkv" where that was named.
    std::string name;
    /// It goes into a pipe.
    bool isPiped = false;
    /// One picture, and nothing else.
    bool isStill = false;
    /// For audio, and beside it at most a cover.
    bool isAudio = false;
};

/// All of these may be called from any thread; containers belong to FFmpeg and live for ever.

/// By an extension ("mkv") or FFmpeg's name of the writer ("matroska"); empty: by the extension of `output`.
/// OptionsException when that says nothing, the container holds neither pictures nor audio, or `output` is a
/// pipe, and the container needs a file.
Container ChooseContainer(std::filesystem::path const& output, std::string const& named);

ContainerTraits const& GetTraits(AVOutputFormat const& format) noexcept;

/// What users call the files of the output, ".mp4".
std::string GetFileKind(AVFormatContext const& output);

/// The extensions by which containers are known that can be written into a pipe, one each. std::bad_alloc.
std::vector<std::string> ListPipedExtensions();

/// What the writer of a pipe is told, key and value. std::bad_alloc.
std::vector<std::pair<std::string, std::string>> ListPipeOptions(AVOutputFormat const& format);

/// Every container that has a row.
std::span<ContainerTraits const> ListTraits() noexcept;

/// Whether players know the codec, an AVCodecID, in files of the container.
bool IsKnownIn(AVOutputFormat const& format, int codec) noexcept;

/// Whether it holds what alpha streams of the codec, an AVCodecID, have: VP8 and VP9 have it beside the
/// packets, which other containers drop.
bool HoldsSideAlpha(AVOutputFormat const& format, int codec) noexcept;

/// Whether its files say when pictures are shown.
bool KeepsTimes(AVOutputFormat const& format) noexcept;

/// The codec, an AVCodecID, that an image file's extension stands for; that of no codec for others.
int GetStillCodec(std::filesystem::path const& output);

/// What a picture file's name would be written by, whatever it is written with.
AVOutputFormat const& GetStillFormat();

/// What has to be known of a kind of input.
struct InputTraits {
    std::string_view name;
    /// One still picture, not a film.
    bool isStill = false;
    /// Any text would do.
    bool isGuess = false;
    /// The length it states is the end of the whole, counted from time 0.
    bool statesEnd = false;
    /// Lengths are stated to the sample, or nearly.
    bool statesExactly = false;
    /// Not all of its packets say when they are shown, which then follows from when they are decoded.
    bool lacksTimes = false;
    /// The tags of the file stand in its streams.
    bool tagsStreams = false;
    /// Nothing follows its last packet; what does is one that is not whole, of which its reader says nothing.
    bool endsWithPacket = false;
    /// It has an index of key frames, and times that do not depend on what was read before.
    bool hasIndex = false;
};

InputTraits GetTraits(AVInputFormat const& format) noexcept;

} // namespace Tarsel::Media
