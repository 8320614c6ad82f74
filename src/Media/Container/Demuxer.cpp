#include "Media/Container/Demuxer.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Container/Containers.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/dict.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/opt.h>
}

namespace Tarsel::Media {

namespace {

/// After this many unreadable packets in a row the rest is given up.
constexpr int s_mostDamagedInARow = 100;

bool IsCoverStream(AVStream const& stream) noexcept {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

/// FFmpeg's reader of Ogg has a last packet that is nothing but padding last less than nothing, in 32 bits.
bool IsPadding(AVPacket const& packet, AVStream const& stream) noexcept {
    constexpr std::int64_t wrap = std::int64_t{1} << 32;
    constexpr std::int64_t longestPacket = 1 << 16;
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO &&
           stream.time_base.den == stream.codecpar->sample_rate && packet.duration < wrap &&
           packet.duration > wrap - longestPacket;
}

/// One of the pieces that files of the family of QuickTime and MP4 consist of, by its first bytes.
struct MovPiece {
    std::string name;
    /// 0: not said.
    std::int64_t size = 0;
};

MovPiece ReadMovPiece(std::string const& head) {
    constexpr std::size_t shortHeader = 8;
    constexpr std::size_t longHeader = 16;
    if (head.size() < shortHeader)
        return {};
    auto const* const bytes = reinterpret_cast<std::uint8_t const*>(head.data());
    MovPiece piece{head.substr(4, 4), AV_RB32(bytes)};
    if (piece.size == 1 && head.size() >= longHeader)
        piece.size = static_cast<std::int64_t>(AV_RB64(bytes + shortHeader));
    if (piece.size < static_cast<std::int64_t>(shortHeader))
        piece.size = 0;
    return piece;
}

/// Files of that family begin so. What their reader refuses lacks their index, which many programs write
/// last.
bool IsMovFile(AVIOContext& file) {
    std::string head(8, '\0');
    bool const isRead =
        avio_seek(&file, 0, SEEK_SET) == 0 &&
        avio_read(&file, reinterpret_cast<unsigned char*>(head.data()), 8) == static_cast<int>(head.size());
    return isRead && ReadMovPiece(head).name == "ftyp";
}

/// Whether a file of that family has its index behind what that tells of, so that reading it goes back.
bool HasIndexBehind(InputPipe& pipe, std::stop_token const& stop) {
    constexpr std::string_view first[] = {"ftyp", "wide", "free", "skip", "mdat"};
    constexpr std::size_t header = 16;
    constexpr int mostPieces = 16;
    std::int64_t at = 0;
    for (int i = 0; i < mostPieces; ++i) {
        MovPiece const piece = ReadMovPiece(pipe.Peek(at, header, stop));
        if (i == 0 && std::ranges::find(first, piece.name) == std::end(first))
            return false;
        if (piece.name == "mdat" || piece.name == "meta")
            return true;
        if (piece.name == "moov" || piece.name == "moof" || piece.size == 0 || piece.size > INT64_MAX - at)
            return false;
        at += piece.size;
    }
    return false;
}

std::int64_t PixelCount(AVStream const& stream) noexcept {
    return std::int64_t{stream.codecpar->width} * stream.codecpar->height;
}

} // namespace

Demuxer::Demuxer(Input const& input, std::stop_token stop, Ratio imageRate)
    : m_input(ForOneCall(input)), m_stop(std::move(stop)), m_sequence(FindSequence(m_input.GetName())),
      m_imageRate(imageRate.numerator > 0 ? imageRate : s_usualImageRate) {
    Open();
    m_video = FindVideo();
    m_audio = av_find_best_stream(m_context.get(), AVMEDIA_TYPE_AUDIO, -1, m_video, nullptr, 0);
    if (m_video < 0 && m_audio < 0)
        Core::Throw<InputException>(fmt::format("{} has neither video nor audio", Quote(GetPath())));
    // Audio and picture would start at whatever the sender's clock said.
    m_isBroadcast = (m_context->iformat->flags & AVFMT_TS_DISCONT) != 0;
    if (m_isBroadcast && m_context->start_time != AV_NOPTS_VALUE)
        m_clockStart = m_context->start_time;
    m_ends = StatedEnds(*m_context);
    m_lastFrames = LastFrames(*m_context);
}

Demuxer::~Demuxer() = default;

std::unique_ptr<Demuxer> Demuxer::Reopen() const {
    auto again = std::make_unique<Demuxer>(m_input, m_stop, m_imageRate);
    again->WorkOn(m_video, m_audio);
    again->m_isIndexBehind = m_isIndexBehind;
    return again;
}

void Demuxer::ForgetRead() const {
    if (m_input.m_pipe != nullptr)
        m_input.m_pipe->ForgetRead();
}

bool Demuxer::CanSeek() const noexcept {
    return (m_io->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

void Demuxer::WorkOn(int video, int audio) noexcept {
    auto const count = static_cast<int>(m_context->nb_streams);
    m_video = video < count ? video : -1;
    m_audio = audio < count ? audio : -1;
}

int Demuxer::IsInterrupted(void* self) noexcept {
    return static_cast<Demuxer*>(self)->m_stop.stop_requested() ? 1 : 0;
}

void Demuxer::OpenFile() {
    AVIOInterruptCB const interrupt{&Demuxer::IsInterrupted, this};
    AVIOContext* file = nullptr;
    std::filesystem::path const path =
        m_sequence ? m_sequence->MakePath(FindFirstNumber(*m_sequence)) : GetPath();
    int const error =
        avio_open2(&file, ("file:" + path.string()).c_str(), AVIO_FLAG_READ, &interrupt, nullptr);
    m_file.reset(file);
    m_io = file;
    Check(error);
}

void Demuxer::OpenPipe() {
    InputPipe& pipe = *m_input.m_pipe;
    pipe.Open();
    m_isIndexBehind = !pipe.IsWhole() && HasIndexBehind(pipe, m_stop);
    if (m_isIndexBehind)
        Check(pipe.FetchAll(m_stop));
    m_pipe = std::make_unique<PipeReader>(m_input.m_pipe, m_stop);
    m_io = m_pipe->GetIO();
}

void Demuxer::Check(int error) const {
    if (m_stop.stop_requested())
        throw Stopped();
    if (error >= 0)
        return;
    std::string const name = Quote(GetPath());
    CheckPipe(error);
    if (m_input.m_pipe != nullptr && m_input.m_pipe->GetSize() == 0)
        Core::Throw<InputException>(name + " is empty: nothing came through the pipe");
    bool const lacksIndex = error == AVERROR_INVALIDDATA && m_io != nullptr && IsMovFile(*m_io);
    Core::Throw<InputException>(
        lacksIndex             ? name + " is incomplete: its index (moov) is missing"
        : error == AVERROR_EOF ? name + " is incomplete: it ends within its header"
        : error == AVERROR_INVALIDDATA
            ? name + " is not a media file that FFmpeg can read"
            : fmt::format("Cannot open {}: {}", name, Proc::GetFFmpegErrorText(error)),
        Proc::TagFFmpegError(error));
}

/// Bytes that could not be kept are not the input's fault.
void Demuxer::CheckPipe(int error) const {
    std::string const failure = m_input.m_pipe != nullptr ? m_input.m_pipe->GetFailure() : std::string();
    if (!failure.empty())
        Core::Throw<InputException>(failure, Proc::TagFFmpegError(error));
}

void Demuxer::Open() {
    m_input.m_pipe != nullptr ? OpenPipe() : OpenFile();
    UniqueFormat fresh(CheckAllocated(avformat_alloc_context(), "AVFormatContext"));
    fresh->interrupt_callback = {&Demuxer::IsInterrupted, this};
    // The file is open; no other is to be, whatever patterns its name has or lists its content.
    if (!m_sequence)
        fresh->pb = m_io;
    Check(av_opt_set(fresh.get(), "protocol_whitelist", m_sequence ? "file" : "none", 0));
    Check(OpenContext(fresh.release()));
    InputTraits const traits = GetTraits(*m_context->iformat);
    Check(traits.isGuess ? AVERROR_INVALIDDATA : 0);
    if (traits.lacksTimes)
        m_context->flags |= AVFMT_FLAG_GENPTS;
    Check(avformat_find_stream_info(m_context.get(), nullptr));
}

/// Takes the context; FFmpeg's error.
int Demuxer::OpenContext(AVFormatContext* fresh) {
    AVInputFormat const* format = nullptr;
    AVDictionary* options = nullptr;
    std::string name = GetPath().string();
    int error = 0;
    if (m_sequence) {
        format = av_find_input_format("image2");
        name = "file:" + m_sequence->MakePattern();
        for (auto const& [key, value] :
             {std::pair("pattern_type", std::string("sequence")),
              {"start_number", std::to_string(FindFirstNumber(*m_sequence))},
              {"start_number_range", "1"},
              {"framerate", fmt::format("{}/{}", m_imageRate.numerator, m_imageRate.denominator)}})
            error = std::min(error, av_dict_set(&options, key, value.c_str(), 0));
    }
    if (error >= 0)
        error = avformat_open_input(&fresh, name.c_str(), format, &options); // frees the context on failure
    m_context.reset(fresh);
    av_dict_free(&options);
    return error;
}

int Demuxer::FindVideo() const {
    int const best = av_find_best_stream(m_context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (best < 0)
        return -1;
    int picture = best;
    if (IsCoverStream(*m_context->streams[best]))
        for (int i = 0; i < static_cast<int>(m_context->nb_streams); ++i) {
            AVStream const& stream = *m_context->streams[i];
            if (stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO || IsCoverStream(stream))
                continue;
            if (picture == best || PixelCount(stream) > PixelCount(*m_context->streams[picture]))
                picture = i;
        }
    return picture;
}

AVStream const& Demuxer::GetVideo() const noexcept {
    return *m_context->streams[m_video];
}

/// What times are told of.
AVStream const& Demuxer::GetMain() const noexcept {
    bool const isAudio = m_audio >= 0 && (m_video < 0 || IsCover());
    return *m_context->streams[isAudio ? m_audio : m_video];
}

Ratio Demuxer::GetFrameRate() const noexcept {
    AVStream const& stream = GetVideo();
    return ChooseNominalRate(FromAV(stream.avg_frame_rate), FromAV(stream.r_frame_rate));
}

Ratio Demuxer::GetFinestRate() const noexcept {
    constexpr int mostOfFilms = 240;
    Ratio const nominal = GetFrameRate();
    AVRational const base = GetVideo().r_frame_rate;
    bool const isFiner = base.num > 0 && base.den > 0 && nominal.numerator > 0 &&
                         av_cmp_q(base, ToAV(nominal)) > 0 && av_cmp_q(base, {mostOfFilms, 1}) <= 0;
    return isFiner ? FromAV(base) : nominal;
}

bool Demuxer::IsCover() const noexcept {
    return m_video >= 0 && IsCoverStream(GetVideo());
}

bool Demuxer::IsStill() const noexcept {
    return (GetTraits(*m_context->iformat).isStill && !IsSequence()) || IsCover();
}

/// Only FFmpeg's writers tell, so the one for files of that name is asked.
bool Demuxer::HasTimes() const {
    char const* const extensions = m_context->iformat->extensions;
    if (extensions == nullptr)
        return true;
    std::string const name = "x." + std::string(extensions, std::strcspn(extensions, ","));
    AVOutputFormat const* const writer = av_guess_format(nullptr, name.c_str(), nullptr);
    return writer == nullptr || (writer->flags & AVFMT_NOTIMESTAMPS) == 0;
}

std::int64_t Demuxer::GetStart() const noexcept {
    AVStream const& stream = GetMain();
    if (stream.start_time == AV_NOPTS_VALUE)
        return 0;
    return av_sat_sub64(ToMicroseconds(stream.start_time, FromAV(stream.time_base)), m_clockStart);
}

std::int64_t Demuxer::GetDuration() const noexcept {
    AVStream const& stream = GetMain();
    if (stream.duration > 0)
        return ToMicroseconds(stream.duration, FromAV(stream.time_base));
    bool const isEnd = GetTraits(*m_context->iformat).statesEnd;
    return std::max<std::int64_t>(av_sat_sub64(m_context->duration, isEnd ? GetStart() : 0), 0);
}

bool Demuxer::Read(AVPacket& packet) {
    int damaged = 0;
    if (m_rangeEnd.IsReached())
        return false;
    for (;;) {
        std::int64_t const position = avio_tell(m_io);
        int const error = av_read_frame(m_context.get(), &packet);
        if (m_stop.stop_requested())
            throw Stopped();
        if (error >= 0)
            break;
        if (IsAtEnd(error)) {
            LookAtEnd(position);
            m_endsDamaged = m_endsDamaged || damaged > 0 || error != AVERROR_EOF;
            m_damaged -= damaged;
            return false;
        }
        CheckPipe(error);
        if (error != AVERROR_INVALIDDATA)
            Core::Throw<InputException>(fmt::format("Cannot read the rest of {}: {}", Quote(GetPath()),
                                                    Proc::GetFFmpegErrorText(error)),
                                        Proc::TagFFmpegError(error));
        if (++damaged > s_mostDamagedInARow) {
            m_brokeOff = true;
            return false;
        }
        ++m_damaged;
    }
    if (IsPadding(packet, *m_context->streams[packet.stream_index]))
        packet.duration = 0;
    m_lastDamaged = (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
    m_lastCounted = m_lastDamaged && packet.stream_index != m_video; // of those the decoder tells
    m_damaged += m_lastCounted ? 1 : 0;
    m_ends.Add(*m_context, packet);
    m_lastFrames.Add(packet);
    if (m_isBroadcast)
        CorrectTimes(packet);
    m_rangeEnd.Add(*m_context, packet);
    EndSkipping(packet);
    return true;
}

/// Some readers call it an error that the file ends within a packet.
bool Demuxer::IsAtEnd(int error) const noexcept {
    AVIOContext const& file = *m_io;
    bool const isFileWell = file.error >= 0 || file.error == AVERROR_EOF;
    return error == AVERROR_EOF || (error == AVERROR(EIO) && file.eof_reached != 0 && isFileWell);
}

/// `last` is where the file had been read to with the last packet.
void Demuxer::LookAtEnd(std::int64_t last) {
    AVIOContext& file = *m_io;
    m_isWhole = !m_hasJumped;
    m_endsDamaged = m_lastDamaged;
    m_damaged -= m_lastCounted ? 1 : 0;
    bool const hasRest = GetTraits(*m_context->iformat).endsWithPacket && avio_tell(&file) > last;
    if (m_isWhole)
        m_endsDamaged = m_endsDamaged || hasRest || m_lastFrames.IsAnyCut();
    if (!m_isWhole || !CanSeek())
        return;
    std::int64_t const end = avio_tell(&file);
    m_fileEnd = FindFileEnd(m_context->iformat->name, file);
    avio_seek(&file, end, SEEK_SET);
}

void Demuxer::CorrectTimes(AVPacket& packet) {
    AVStream const& stream = *m_context->streams[packet.stream_index];
    Ratio const timeBase = FromAV(stream.time_base);
    AVMediaType const type = stream.codecpar->codec_type;
    std::int64_t const time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    bool const hasClock =
        time != AV_NOPTS_VALUE && (type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO);
    std::int64_t const jump =
        hasClock
            ? m_jumps.Correct(packet.stream_index, av_sat_sub64(ToMicroseconds(time, timeBase), m_clockStart),
                              ToMicroseconds(packet.duration, timeBase))
            : m_jumps.GetOffset();
    std::int64_t const ticks = ToTicks(jump - m_clockStart, timeBase);
    if (packet.pts != AV_NOPTS_VALUE)
        packet.pts = av_sat_add64(packet.pts, ticks);
    if (packet.dts != AV_NOPTS_VALUE)
        packet.dts = av_sat_add64(packet.dts, ticks);
}

bool Demuxer::Seek(std::int64_t microseconds) {
    if (!CanSeek())
        return false;
    m_jumps = ClockJumps();
    m_hasJumped = true;
    std::int64_t const ticks =
        ToTicks(av_sat_add64(microseconds, m_clockStart), FromAV(GetVideo().time_base));
    return av_seek_frame(m_context.get(), m_video, ticks, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool Demuxer::SeeksExactly() const noexcept {
    return CanSeek() && GetTraits(*m_context->iformat).hasIndex;
}

void Demuxer::EndWith(Span const& span) {
    m_rangeEnd = RangeEnd(*m_context, span);
}

void Demuxer::SkipVideoBefore(std::int64_t microseconds) {
    if (!SeeksExactly() || microseconds <= GetStart())
        return;
    m_skippedBefore = microseconds;
    m_hasJumped = true;
    m_context->streams[m_video]->discard = AVDISCARD_ALL;
}

void Demuxer::EndSkipping(AVPacket const& packet) {
    if (m_skippedBefore == INT64_MIN)
        return;
    std::int64_t const time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    Ratio const timeBase = FromAV(m_context->streams[packet.stream_index]->time_base);
    if (time == AV_NOPTS_VALUE || ToMicroseconds(time, timeBase) < m_skippedBefore)
        return;
    m_skippedBefore = INT64_MIN;
    m_context->streams[m_video]->discard = AVDISCARD_DEFAULT;
}

std::vector<std::string> Demuxer::GetNotes() const {
    std::vector<std::string> notes;
    if (m_isIndexBehind)
        notes.emplace_back("Kept all of the input in a temporary file first: its index stands at its end.");
    if (m_jumps.GetCount() > 0)
        notes.push_back(fmt::format("Closed {}: the input's clock is not continuous.",
                                    CountText(m_jumps.GetCount(), "time jump")));
    if (m_damaged > 0)
        notes.push_back(fmt::format("Found {} in the input.", CountText(m_damaged, "damaged packet")));
    if (m_brokeOff)
        notes.emplace_back("The input is truncated: its end is unreadable.");
    auto ends = m_isWhole ? m_ends.Describe() : std::vector<std::string>();
    if (ends.empty() && m_fileEnd.missing > 0)
        ends.push_back(fmt::format("The input is truncated: {} of its {} bytes are missing.",
                                   m_fileEnd.missing, m_fileEnd.stated));
    else if (ends.empty() && m_endsDamaged)
        ends.emplace_back("The input is truncated: its last packet is incomplete.");
    else if (ends.empty() && m_fileEnd.lacksMark)
        ends.emplace_back("The input may be truncated: it lacks the mark that such files end with.");
    for (std::string& note : ends)
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
