#include "Media/Container/Containers.h"

#include "Core/NearNames.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Sequence.h"
#include "Media/MediaExceptions.h"
#include "Media/Run.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr int s_knownInMp4[] = {
    AV_CODEC_ID_AAC,  AV_CODEC_ID_MP3,    AV_CODEC_ID_MP2,           AV_CODEC_ID_AC3,    AV_CODEC_ID_EAC3,
    AV_CODEC_ID_DTS,  AV_CODEC_ID_TRUEHD, AV_CODEC_ID_MLP,           AV_CODEC_ID_MP4ALS, AV_CODEC_ID_ALAC,
    AV_CODEC_ID_FLAC, AV_CODEC_ID_OPUS,   AV_CODEC_ID_MPEGH_3D_AUDIO};

constexpr int s_knownInAvi[] = {AV_CODEC_ID_MP3,           AV_CODEC_ID_MP2,       AV_CODEC_ID_AC3,
                                AV_CODEC_ID_DTS,           AV_CODEC_ID_AAC,       AV_CODEC_ID_FLAC,
                                AV_CODEC_ID_PCM_U8,        AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S24LE,
                                AV_CODEC_ID_PCM_S32LE,     AV_CODEC_ID_PCM_F32LE, AV_CODEC_ID_PCM_F64LE,
                                AV_CODEC_ID_PCM_ALAW,      AV_CODEC_ID_PCM_MULAW, AV_CODEC_ID_ADPCM_MS,
                                AV_CODEC_ID_ADPCM_IMA_WAV, AV_CODEC_ID_WMAV1,     AV_CODEC_ID_WMAV2};

constexpr int s_knownInSmoothStreams[] = {AV_CODEC_ID_AAC, AV_CODEC_ID_WMAPRO, AV_CODEC_ID_AC3,
                                          AV_CODEC_ID_EAC3};

constexpr int s_knownInTransportStreams[] = {AV_CODEC_ID_AAC,          AV_CODEC_ID_AAC_LATM,
                                             AV_CODEC_ID_MP2,          AV_CODEC_ID_MP3,
                                             AV_CODEC_ID_AC3,          AV_CODEC_ID_EAC3,
                                             AV_CODEC_ID_DTS,          AV_CODEC_ID_OPUS,
                                             AV_CODEC_ID_MPEG1VIDEO,   AV_CODEC_ID_MPEG2VIDEO,
                                             AV_CODEC_ID_MPEG4,        AV_CODEC_ID_H264,
                                             AV_CODEC_ID_HEVC,         AV_CODEC_ID_CAVS,
                                             AV_CODEC_ID_AVS2,         AV_CODEC_ID_AVS3,
                                             AV_CODEC_ID_VC1,          AV_CODEC_ID_DIRAC,
                                             AV_CODEC_ID_JPEG2000,     AV_CODEC_ID_DVB_SUBTITLE,
                                             AV_CODEC_ID_DVB_TELETEXT, AV_CODEC_ID_HDMV_PGS_SUBTITLE};

constexpr int s_knownInProgramStreams[] = {AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,  AV_CODEC_ID_MP2,
                                           AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,         AV_CODEC_ID_DTS,
                                           AV_CODEC_ID_PCM_DVD,    AV_CODEC_ID_DVD_SUBTITLE};

/// What rows have in common.
constexpr ContainerTraits s_movFamily{
    .name = "", .covers = Covers::Streams, .isMovFamily = true, .knowsRawByTag = true};
constexpr ContainerTraits s_programStream{
    .name = "", .knownCodecs = s_knownInProgramStreams, .losesChapters = true};
constexpr ContainerTraits s_broadcast{
    .name = "", .countsFrames = true, .startsAudioAtZero = true, .losesChapters = true};

/// A row like another but for what `change` does to it.
template <class Change>
constexpr ContainerTraits Like(ContainerTraits row, std::string_view name, Change const& change) {
    row.name = name;
    change(row);
    return row;
}
constexpr ContainerTraits Like(ContainerTraits row, std::string_view name) {
    row.name = name;
    return row;
}

constexpr ContainerTraits s_broadcastOf48kHz =
    Like(s_broadcast, "", [](ContainerTraits& row) { row.audioRate = 48000; });

/// Complete at every key frame, and where there is no video every second. The header waits for the first
/// packets, which say when streams begin.
constexpr std::array<std::array<char const*, 2>, 2> s_inFragments{
    {{"movflags", "+frag_keyframe+delay_moov+default_base_moof"}, {"frag_duration", "1000000"}}};

/// What phones and players make of films in files of the family.
constexpr ContainerTraits s_movFilms = Like(s_movFamily, "", [](ContainerTraits& row) {
    row.videoEncoders = {"libx264", "mpeg4"};
    row.audioEncoders = {"aac"};
    row.textEncoder = "mov_text";
    row.holdsParts = true;
    row.pipeOptions = s_inFragments;
});

constexpr ContainerTraits s_phoneFilms = Like(s_movFilms, "", [](ContainerTraits& row) {
    row.unreadTags = "artist genre author album copyright comment date title";
});

constexpr ContainerTraits s_containers[] = {
    Like(s_movFilms, "mp4",
         [](ContainerTraits& row) {
             row.knownCodecs = s_knownInMp4;
             row.saysRange = true;
         }),
    Like(s_movFilms, "mov",
         [](ContainerTraits& row) {
             row.numbersLanguages = true;
             row.plainRawFormats =
                 "yuyv422 rgb24 bgr24 uyvy422 argb rgba abgr bgra gray16be rgb48be rgb565be "
                 "rgb565le rgb555be rgb555le";
         }),
    Like(s_movFilms, "ipod", [](ContainerTraits& row) { row.audioExtensions = ".m4a .m4b "; }),
    Like(s_phoneFilms, "3gp"),
    Like(s_phoneFilms, "3g2"),
    Like(s_movFamily, "psp",
         [](ContainerTraits& row) {
             row.textEncoder = "mov_text";
             row.needsFile = true;
         }),
    Like(s_movFamily, "ismv",
         [](ContainerTraits& row) {
             row.knownCodecs = s_knownInSmoothStreams;
             row.needsFile = true;
         }),
    Like(s_movFamily, "f4v",
         [](ContainerTraits& row) {
             row.videoEncoders = {"libx264"};
             row.audioEncoders = {"aac"};
             row.needsFile = true;
         }),
    {.name = "matroska",
     .videoEncoders = {"libx264", "mpeg4"},
     .audioEncoders = {"aac"},
     .textEncoder = "subrip",
     .covers = Covers::Attachments,
     .holdsParts = true,
     .saysRange = true,
     .hasAttachments = true,
     .hasSideAlpha = true},
    {.name = "webm",
     .videoEncoders = {"libvpx-vp9", "libvpx"},
     .audioEncoders = {"libopus", "libvorbis"},
     .textEncoder = "webvtt",
     .holdsParts = true,
     .saysRange = true,
     .hasSideAlpha = true},
    {.name = "avi",
     .audioEncoders = {"libmp3lame"},
     .knownCodecs = s_knownInAvi,
     .countsFrames = true,
     .startsAudioAtZero = true,
     .wantsStartCodes = true,
     .needsFile = true,
     .losesChapters = true,
     .knowsRawByTag = true,
     .plainRawFormats = "yuv420p yuyv422 bgr24 yuv422p yuv410p yuv411p gray uyvy422 nv12 nv21 rgba bgra "
                        "rgb555le yvyu422 pal8"},
    {.name = "flv", .videoEncoders = {"libx264", "flv"}, .audioEncoders = {"aac"}, .losesChapters = true},
    Like(s_programStream, "mpeg",
         [](ContainerTraits& row) {
             row.videoEncoders = {"mpeg2video", "mpeg1video"};
         }),
    Like(s_programStream, "vcd"),
    Like(s_programStream, "svcd"),
    Like(s_programStream, "dvd"),
    Like(s_programStream, "vob"),
    {.name = "mpegts",
     .videoEncoders = {"libx264", "mpeg2video"},
     .audioEncoders = {"aac"},
     .knownCodecs = s_knownInTransportStreams,
     .losesChapters = true,
     .hasStreamIds = true},
    {.name = "ogg",
     .audioEncoders = {"libvorbis", "flac"},
     .audioExtensions = ".ogg ",
     .countsFrames = true,
     .chapterCodec = AV_CODEC_ID_OPUS},
    {.name = "oga", .chapterCodec = AV_CODEC_ID_OPUS},
    {.name = "ogv", .countsFrames = true, .chapterCodec = AV_CODEC_ID_OPUS},
    {.name = "asf", .audioExtensions = ".wma "},
    Like(s_broadcast, "dv"),
    Like(s_broadcastOf48kHz, "gxf", [](ContainerTraits& row) { row.needsFile = true; }),
    Like(s_broadcastOf48kHz, "mxf"),
    Like(s_broadcastOf48kHz, "mxf_opatom", [](ContainerTraits& row) { row.needsFile = true; }),
    {.name = "mp3",
     .covers = Covers::Only,
     .pipeLoss = "how much silence its encoder adds, which players then play"},
    {.name = "flac", .covers = Covers::Only, .losesChapters = true},
    {.name = "adts", .writerOption = {"write_id3v2", "1"}},
    {.name = "aiff",
     .covers = Covers::Only,
     .isPlainAudio = true,
     .writerOption = {"write_id3v2", "1"},
     .needsFile = true},
    {.name = "wav", .isPlainAudio = true, .writerOption = {"rf64", "auto"}, .losesChapters = true},
    {.name = "w64", .isPlainAudio = true, .needsFile = true, .losesChapters = true},
    {.name = "au", .isPlainAudio = true, .losesChapters = true},
    {.name = "gif", .takesOwnCodecOnly = true, .losesChapters = true},
    {.name = "apng", .takesOwnCodecOnly = true, .needsFile = true, .losesChapters = true},
    {.name = "image2", .isStill = true},
    {.name = "webp", .isStill = true},
    {.name = "yuv4mpegpipe", .losesChapters = true, .keepsNoTimes = true},
    {.name = "ivf", .losesChapters = true},
    {.name = "nut"},
    {.name = "opus", .chapterCodec = AV_CODEC_ID_OPUS},
    {.name = "wv", .needsFile = true, .losesChapters = true},
    {.name = "hls", .isManyFiles = true},
    {.name = "dash", .isManyFiles = true},
};

constexpr ContainerTraits s_anyContainer{};

constexpr InputTraits s_inputs[] = {
    {.name = "image2", .isStill = true},
    {.name = "tty", .isGuess = true},
    {.name = "matroska,webm", .statesEnd = true, .statesExactly = true, .hasIndex = true},
    {.name = "mov,mp4,m4a,3gp,3g2,mj2", .statesExactly = true, .hasIndex = true},
    {.name = "avi", .statesExactly = true},
    {.name = "flac", .statesExactly = true},
    {.name = "wav", .statesExactly = true},
    {.name = "w64", .statesExactly = true},
    {.name = "aiff", .statesExactly = true},
    {.name = "mp3", .statesExactly = true},
    {.name = "ivf", .statesExactly = true},
    {.name = "mpeg", .lacksTimes = true},
    {.name = "ogg", .tagsStreams = true},
    {.name = "yuv4mpegpipe", .endsWithPacket = true},
};

/// Whether files of the name hold audio alone, though the container could hold pictures too.
bool IsNamedForAudio(ContainerTraits const& traits, std::filesystem::path const& output) {
    std::string const extension = boost::algorithm::to_lower_copy(output.extension().string()) + ' ';
    return extension.size() > 1 && traits.audioExtensions.find(extension) != std::string_view::npos;
}

AVOutputFormat const* GuessByExtension(std::string const& extension) {
    return av_guess_format(nullptr, ("x." + extension).c_str(), nullptr);
}

/// The first of the extensions that stand for the container; "" where there is none.
std::string FindExtension(AVOutputFormat const& format) {
    std::istringstream list(format.extensions != nullptr ? format.extensions : "");
    for (std::string extension; std::getline(list, extension, ',');)
        if (AVOutputFormat const* const guess = GuessByExtension(extension); guess == &format)
            return extension;
    return {};
}

/// "mkv", ".mkv" and "matroska" as "mkv"; "" for what stands for no container.
std::string ToExtension(std::string named) {
    boost::algorithm::to_lower(named);
    if (named.starts_with('.'))
        named.erase(0, 1);
    if (GuessByExtension(named) != nullptr)
        return named;
    AVOutputFormat const* const format = av_guess_format(named.c_str(), nullptr, nullptr);
    return format != nullptr && !GetTraits(*format).isStill ? FindExtension(*format) : std::string();
}

[[noreturn]] void RefuseOutput(std::filesystem::path const& output, std::string const& reason) {
    Core::Throw<OptionsException>(fmt::format("Cannot write {}: {}", Quote(output), reason));
}

std::string ListPiped() {
    return fmt::format("{}", fmt::join(ListPipedExtensions(), ", "));
}

/// Those that nothing is known of go into pipes if they are bare streams of one codec, without a header.
bool CanBePiped(AVOutputFormat const& format) {
    bool const isBare = (format.flags & AVFMT_NOTIMESTAMPS) != 0;
    return &GetTraits(format) != &s_anyContainer ? !GetTraits(format).needsFile : isBare;
}

/// The name, with the extension that stands for the container.
Container NameContainer(std::filesystem::path const& output, std::string const& named) {
    Container container{
        .file = output.filename(), .name = Quote(output.filename()), .isPiped = IsOutputPipe(output)};
    if (!named.empty()) {
        container.name = ToExtension(named);
        if (container.name.empty())
            RefuseOutput(output, fmt::format("there is no container \"{}\"{}", named,
                                             Core::NearNamesText(named, ListExtensions())));
        container.file += '.' + container.name;
    } else if (container.isPiped && !output.has_extension())
        Core::Throw<OptionsException>(
            fmt::format("{} has no extension that tells the container; choose one of {}", Quote(output),
                        ListPiped()),
            TagMissingOption("format FORMAT"));
    return container;
}

} // namespace

Container ChooseContainer(std::filesystem::path const& output, std::string const& named) {
    Container container = NameContainer(output, named);
    AVOutputFormat const*& format = container.format;
    format = av_guess_format(nullptr, container.file.c_str(), nullptr);
    if (format == nullptr)
        RefuseOutput(output, output.has_extension() ? fmt::format("no container has the extension \"{}\"",
                                                                  output.extension().string())
                                                    : std::string("add an extension, such as .mp4"));
    std::string_view const name = format->name;
    ContainerTraits const& traits = GetTraits(*format);
    container.isStill = traits.isStill;
    bool const canBePiped = CanBePiped(*format);
    if (traits.isStill)
        // It writes to a file that is open, and reads no pattern in the name.
        format = av_guess_format("image2pipe", nullptr, nullptr);
    else if ((format->flags & AVFMT_NOFILE) != 0 || traits.isManyFiles)
        RefuseOutput(output, fmt::format("the format \"{}\" is not a single file", name));
    container.isAudio =
        !traits.isStill && (format->video_codec == AV_CODEC_ID_NONE || traits.covers == Covers::Only ||
                            IsNamedForAudio(traits, container.file));
    if (format == nullptr || (container.isAudio && format->audio_codec == AV_CODEC_ID_NONE))
        RefuseOutput(output, fmt::format("{} files hold neither video nor audio",
                                         container.file.extension().string()));
    if (container.isPiped && !canBePiped)
        RefuseOutput(output,
                     fmt::format("{} files are completed at their beginning, which a pipe has passed on: "
                                 "write a file, or choose one of {}",
                                 container.file.extension().string(), ListPiped()));
    return container;
}

std::vector<std::pair<std::string, std::string>> ListPipeOptions(AVOutputFormat const& format) {
    std::vector<std::pair<std::string, std::string>> options;
    for (auto const& [key, value] : GetTraits(format).pipeOptions)
        if (key != nullptr)
            options.emplace_back(key, value);
    return options;
}

std::vector<std::string> ListPipedExtensions() {
    constexpr char const* usualImage = "png";
    std::vector<std::string> all;
    for (ContainerTraits const& row : s_containers) {
        AVOutputFormat const* const format = av_guess_format(std::string(row.name).c_str(), nullptr, nullptr);
        if (format == nullptr || row.isManyFiles || row.needsFile)
            continue;
        std::string extension = row.isStill ? usualImage : FindExtension(*format);
        if (!extension.empty() && std::ranges::find(all, extension) == all.end())
            all.push_back(std::move(extension));
    }
    return all;
}

ContainerTraits const& GetTraits(AVOutputFormat const& format) noexcept {
    auto const* const row =
        std::ranges::find(s_containers, std::string_view(format.name), &ContainerTraits::name);
    return row != std::end(s_containers) ? *row : s_anyContainer;
}

std::string GetFileKind(AVFormatContext const& output) {
    std::string kind = std::filesystem::path(output.url != nullptr ? output.url : "").extension().string();
    return kind.empty() ? output.oformat->name : kind;
}

bool IsSequence(std::filesystem::path const& name) {
    AVOutputFormat const* const format = av_guess_format(nullptr, name.filename().c_str(), nullptr);
    return format != nullptr && GetTraits(*format).isStill && FindSequence(name);
}

OutputKind FindOutputKind(std::filesystem::path const& output) {
    Container const container = ChooseContainer(output, {});
    return container.isStill ? OutputKind::Image : container.isAudio ? OutputKind::Audio : OutputKind::Video;
}

std::vector<std::string> ListExtensions() {
    std::vector<std::string> all;
    for (ContainerTraits const& row : s_containers) {
        AVOutputFormat const* const format =
            row.isManyFiles ? nullptr : av_guess_format(std::string(row.name).c_str(), nullptr, nullptr);
        if (format == nullptr || format->extensions == nullptr)
            continue;
        std::istringstream list(format->extensions);
        for (std::string extension; std::getline(list, extension, ',');)
            all.push_back(extension);
    }
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::span<ContainerTraits const> ListTraits() noexcept {
    return s_containers;
}

bool IsKnownIn(AVOutputFormat const& format, int codec) noexcept {
    ContainerTraits const& traits = GetTraits(format);
    if (traits.isPlainAudio)
        return av_get_exact_bits_per_sample(static_cast<AVCodecID>(codec)) > 0;
    auto const kind = [](int id) { return avcodec_get_type(static_cast<AVCodecID>(id)); };
    bool const isListed =
        std::ranges::any_of(traits.knownCodecs, [&](int known) { return kind(known) == kind(codec); });
    return !isListed || std::ranges::find(traits.knownCodecs, codec) != traits.knownCodecs.end();
}

bool HoldsSideAlpha(AVOutputFormat const& format, int codec) noexcept {
    return (codec != AV_CODEC_ID_VP8 && codec != AV_CODEC_ID_VP9) || GetTraits(format).hasSideAlpha;
}

bool KeepsTimes(AVOutputFormat const& format) noexcept {
    return (format.flags & AVFMT_NOTIMESTAMPS) == 0 && !GetTraits(format).keepsNoTimes;
}

AVOutputFormat const& GetStillFormat() {
    AVOutputFormat const* const format = av_guess_format("image2", nullptr, nullptr);
    if (format == nullptr)
        Core::Throw<OptionsException>("This FFmpeg writes no image files");
    return *format;
}

int GetStillCodec(std::filesystem::path const& output) {
    return av_guess_codec(&GetStillFormat(), nullptr, output.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
}

InputTraits GetTraits(AVInputFormat const& format) noexcept {
    std::string_view const name = format.name;
    auto const* const row = std::ranges::find(s_inputs, name, &InputTraits::name);
    if (row != std::end(s_inputs))
        return *row;
    return {.name = name, .isStill = name.ends_with("_pipe")};
}

} // namespace Tarsel::Media
