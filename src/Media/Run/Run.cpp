#include "Media/Run.h"

#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Container/FileHeader.h"
#include "Media/Container/InputStreams.h"
#include "Media/Container/OutputFile.h"
#include "Media/MediaExceptions.h"
#include "Media/Run/NonVideoReader.h"
#include "Media/Run/NonVideoStreams.h"
#include "Media/Run/Pipeline.h"
#include "Media/Run/ProgressMeter.h"
#include "Media/Run/RunPlan.h"
#include "Media/Run/TimeMap.h"
#include "Media/Run/VideoSource.h"
#include "Media/Run/Writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/Run/Run";

/// Whether the container's writer refuses the packets, though it takes the codec: AVI wants start codes.
bool WantsStartCodes(AVOutputFormat const& format, AVCodecParameters const& parameters) {
    bool const hasLengths = parameters.extradata_size > 0 && parameters.extradata[0] == 1;
    bool const canHaveEither =
        parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC;
    return GetTraits(format).wantsStartCodes && canHaveEither && hasLengths;
}

/// One run: its files, and the stages between them.
class Job {
public:
    Job(RunOptions const& options, std::stop_source stop)
        : m_options(options), m_stop(std::move(stop)), m_plan(MakeRunPlan(options)),
          m_container(m_plan.container), m_encoder(m_plan.videoEncoder) {}

    RunResult Run();

private:
    using Effects = Proc::IEffectStreamVideo;

    void CheckKinds() const;
    void ChooseStreams();
    void LeaveOutVideo();
    bool OpenVideo();
    void SelectStill();
    void KeepCodec();
    void NoteLoss(AVCodec const& encoder);
    void NoteSize(std::int64_t input, std::int64_t output);
    void KeepImageAlone() const;
    std::string DescribeCopyObstacle(Demuxer const& input) const;
    std::unique_ptr<Effects> MakeEffects();
    void Work(Effects& chain, NonVideoStreams& sound);
    void Copy(NonVideoStreams& sound);
    std::int64_t GetEnd(AVPacket const& packet) const;
    void Report() const;
    void AddNotes(std::vector<std::string> notes);

    RunOptions const& m_options;
    std::stop_source m_stop;
    RunPlan m_plan;
    Container const& m_container;
    AVCodec const* m_encoder = nullptr;
    /// For pictures that the encoder of their codec does not take; null: none.
    AVCodec const* m_usualEncoder = nullptr;
    ProgressMeter m_progress;
    /// The input, until m_source reads it.
    std::unique_ptr<Demuxer> m_demuxer;
    std::unique_ptr<VideoSource> m_source;
    InputStreams m_streams;
    VideoStreamInfo m_info;
    std::unique_ptr<OutputFile> m_file;
    RunResult m_result;
};

RunResult Job::Run() {
    m_demuxer = std::make_unique<Demuxer>(m_options.input, m_stop.get_token());
    m_progress.SetSpan(m_demuxer->GetStart(), m_demuxer->GetDuration());
    CheckKinds();
    m_streams = DescribeStreams(*m_demuxer);
    ChooseStreams();
    std::unique_ptr<Effects> chain;
    if (m_streams.picture >= 0 && OpenVideo())
        chain = MakeEffects();
    NonVideoStreams sound(m_plan, m_streams, m_progress, m_stop.get_token());
    m_file = std::make_unique<OutputFile>(m_options.output, m_options.overwrite);
    if (chain != nullptr)
        Work(*chain, sound);
    else
        Copy(sound);
    m_result.audioEncoders = sound.GetEncoderNames();
    m_result.audioSeconds = m_progress.GetAudioSeconds();
    AddNotes(sound.GetNotes());
    Report();
    if (m_stop.stop_requested())
        throw Stopped();
    m_file->Publish();
    m_result.seconds = m_progress.GetSeconds();
    return std::move(m_result);
}

/// What is wanted of the input has to be in it.
void Job::CheckKinds() const {
    auto const fail = [this](char const* kind) {
        Core::Throw<InputException>(
            {s_file, "void Tarsel::Media::(anonymous namespace)::Job::CheckKinds() const"},
            fmt::format("{} has no {}", Quote(m_options.input), kind));
    };
    bool const hasAudio = m_demuxer->GetAudioIndex() >= 0;
    if (!m_demuxer->HasVideo() && (m_plan.NeedsVideo() || m_container.isStill))
        fail("pictures");
    if (m_container.isAudio && m_demuxer->HasVideo() && !m_demuxer->IsCover() && m_plan.NeedsVideo())
        ThrowHoldsNoVideo(m_plan);
    if (!hasAudio && (m_plan.NeedsAudio() || (m_container.isAudio && !m_demuxer->IsCover())))
        fail("sound");
}

void Job::ChooseStreams() {
    if (m_container.isStill)
        KeepImageAlone();
    else if (m_container.isAudio && m_demuxer->HasVideo() && !m_demuxer->IsCover())
        LeaveOutVideo();
}

/// All but covers: a container for sound may well take them, and players would show a film.
void Job::LeaveOutVideo() {
    for (unsigned i = 0; i < m_streams.context->nb_streams; ++i) {
        AVStream& stream = *m_streams.context->streams[i];
        bool const isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !isCover)
            stream.discard = AVDISCARD_ALL;
    }
    m_streams.picture = -1;
    AddNotes(
        {fmt::format("The pictures were left out: {} is a sound file.", Quote(m_options.output.filename()))});
}

/// False where they cannot be decoded and need not be: they are copied.
bool Job::OpenVideo() {
    try {
        m_source = std::make_unique<VideoSource>(std::move(m_demuxer), m_stop.get_token());
        SelectStill();
        m_info = m_source->GetInfo();
        KeepCodec();
        return true;
    } catch (InputException const&) {
        m_source.reset();
        if (m_plan.NeedsVideo() || m_container.isStill)
            throw;
        m_demuxer = std::make_unique<Demuxer>(m_options.input, m_stop.get_token());
        if (!DescribeCopyObstacle(*m_demuxer).empty())
            throw;
        return false;
    }
}

/// A still picture out of a film wants to be told which.
void Job::SelectStill() {
    auto const fail = [](std::string const& description) {
        Core::Throw<OptionsException>(
            {s_file, "void Tarsel::Media::(anonymous namespace)::Job::SelectStill()"}, description);
    };
    if (!m_container.isStill)
        return;
    Demuxer const& input = m_source->GetDemuxer();
    if (input.IsStill() || input.IsCover()) {
        if (m_options.at)
            fail(fmt::format("A time ({} s) picks a picture of a film, but {} has one picture only",
                             *m_options.at, Quote(m_options.input)));
        return;
    }
    if (m_options.at)
        m_source->SelectFrame(std::llround(*m_options.at * 1e6));
    else if (input.GetVideo().nb_frames != 1)
        fail(fmt::format("{} is a film and {} one picture: a time in the film is needed",
                         Quote(m_options.input), Quote(m_options.output)));
}

/// Pictures stay in their codec where they can: a film's, and a cover, whatever films in the container are
/// encoded with.
void Job::KeepCodec() {
    Demuxer const& input = m_source->GetDemuxer();
    AVCodecID const codec = input.GetVideo().codecpar->codec_id;
    AVCodec const* same = nullptr;
    if (input.IsCover() && !m_container.isStill && m_options.videoEncoder.empty())
        same = avcodec_find_encoder(codec);
    else if (m_plan.MayKeepCodec() && !input.IsStill() && TakesAlone(*m_container.format, input.GetVideo()))
        same = FindSameEncoder(m_container, m_options.output, codec, m_info.format, m_options.quality);
    if (same != nullptr && !input.IsCover())
        m_usualEncoder = m_encoder;
    m_encoder = same != nullptr ? same : m_encoder;
    if (m_encoder != nullptr && input.IsCover())
        CheckEncoderOptions(*m_encoder, m_options.videoEncoderOptions, m_plan.GetQuality());
    if (m_encoder != nullptr && m_options.quality)
        CheckQuality(*m_encoder, *m_options.quality);
}

/// A still holds nothing beside its picture, and nobody expects sound in it: no word of what is left out.
void Job::KeepImageAlone() const {
    for (unsigned i = 0; i < m_streams.context->nb_streams; ++i)
        if (static_cast<int>(i) != m_streams.picture)
            m_streams.context->streams[i]->discard = AVDISCARD_ALL;
}

/// Why the picture stream cannot be copied into the container; "" when it can.
std::string Job::DescribeCopyObstacle(Demuxer const& input) const {
    AVOutputFormat const& format = *m_container.format;
    AVStream const& picture = input.GetVideo();
    AVCodecID const codec = picture.codecpar->codec_id;
    bool const canHold = input.IsCover() && !m_container.isStill
                             ? GetTraits(format).covers != Covers::None
                             : CanHold(m_container, m_options.output, codec) && TakesAlone(format, picture);
    if (!canHold || WantsStartCodes(format, *picture.codecpar))
        return fmt::format("{} cannot hold {}", Quote(m_options.output.filename()), avcodec_get_name(codec));
    if (m_info.orientation.GetOrientation().value_or(1) != 1 && !m_container.isStill &&
        !GetTraits(format).isMovFamily)
        return fmt::format("{} cannot hold their orientation", Quote(m_options.output.filename()));
    bool const needsTimes = KeepsTimes(format) && m_streams.container != format.name && !input.IsStill();
    return needsTimes && m_source != nullptr && !m_source->HasPacketTimes()
               ? "the input does not say when they are shown"
               : std::string();
}

/// Null: the picture stream is copied, or left out.
std::unique_ptr<Proc::IEffectStreamVideo> Job::MakeEffects() {
    bool const wantsEncoder = m_plan.WantsVideoEncoder();
    m_info.copyObstacle =
        wantsEncoder ? "the options ask for an encoder" : DescribeCopyObstacle(m_source->GetDemuxer());
    std::unique_ptr<Effects> chain =
        m_options.makeVideoEffects ? m_options.makeVideoEffects(m_info) : nullptr;
    if (chain == nullptr && m_info.copyObstacle.empty())
        return chain;
    if (chain == nullptr && !wantsEncoder && m_source->GetDemuxer().IsCover() && m_streams.sound >= 0 &&
        !m_container.isStill) {
        m_streams.picture = -1; // the sound goes without its cover
        return chain;
    }
    if (m_encoder == nullptr)
        ThrowHoldsNoVideo(m_plan);
    if (chain != nullptr)
        return chain;
    if (!wantsEncoder && !m_container.isStill)
        AddNotes({"The pictures were encoded anew: " + m_info.copyObstacle + "."});
    if (m_info.orientation != Conf::DisplayMatrix::s_default)
        AddNotes({"The orientation tag of the pictures was dropped, since they were encoded anew."});
    return std::make_unique<Host::VideoChain>(); // without steps: the pictures as they are
}

/// Three stages: read and decode, work, encode and write.
void Job::Work(Effects& chain, NonVideoStreams& sound) {
    TimeMap times(m_info.timeBase);
    std::optional<NonVideoReader> others;
    if (!m_container.isStill && m_streams.context->nb_streams > 1)
        others.emplace(m_options.input, m_stop.get_token());
    Writer writer({m_encoder, m_options.videoEncoderOptions, m_plan.GetQuality(), m_container.format,
                   times.GetTimeBase(), m_info.frameRate, m_source->GetFirstDuration(), m_container.isStill,
                   m_options.keepsEffectFormat ? VideoFormat() : VideoFormat{m_info.format, m_info.space},
                   m_usualEncoder},
                  *m_file, m_streams, others ? &*others : nullptr, sound, m_progress);

    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const worked = pipeline.AddStage<WorkedFrame>(
        [&](WorkedFrame const& frame) {
            if (!m_container.isStill || m_progress.GetFrames() == 0)
                writer.Write(frame);
        },
        [&] { writer.Close(); });
    auto const takeAll = [&] {
        while (SP<Proc::IDataVideo> data = chain.Take()) {
            FrameTime const time = times.Leave(data->GetTime(), data->GetDuration());
            worked.give({std::move(data), time});
        }
    };
    auto const decoded = pipeline.AddStage<SourceFrame>(
        [&](SourceFrame const& frame) {
            times.Enter(frame.data->GetTime(), frame.data->GetDuration(), frame.time);
            chain.Feed(frame.data);
            takeAll();
        },
        [&] {
            chain.End();
            takeAll();
            worked.close();
        });
    pipeline.Run([&] {
        while (auto frame = m_source->Next())
            decoded.give(std::move(*frame));
        decoded.close();
    });

    m_result.framesIn = m_source->GetFrameCount();
    m_result.framesOut = m_progress.GetFrames();
    m_result.videoEncoder = writer.GetEncoder().name;
    NoteLoss(writer.GetEncoder());
    NoteSize(m_source->GetByteCount(), writer.GetByteCount());
    AddNotes(others ? others->GetNotes() : m_source->GetDemuxer().GetNotes());
    AddNotes(m_source->GetNotes());
    AddNotes(writer.GetNotes());
    if (times.GetMovedCount() > 0)
        AddNotes({CountText(times.GetMovedCount(), "picture time") +
                  " not after the one before and moved by the least step."});
}

/// What lost nothing so far does now, and nobody asked for it.
void Job::NoteLoss(AVCodec const& encoder) {
    AVCodecDescriptor const* const input =
        avcodec_descriptor_get(m_source->GetDemuxer().GetVideo().codecpar->codec_id);
    bool const wasLossless = input != nullptr && (input->props & AV_CODEC_PROP_LOSSY) == 0 &&
                             (GetCodecFacts(input->id).isOfFilms || input->id == AV_CODEC_ID_RAWVIDEO);
    bool const isLossless = LosesNothing(encoder) || m_plan.GetQuality() == Quality::Lossless;
    if (wasLossless && !isLossless && m_plan.MayKeepCodec() && !m_options.quality &&
        !m_source->GetDemuxer().IsStill())
        AddNotes({fmt::format("The input's pictures ({}) are without loss; those of {} are not quite.",
                              input->name, encoder.name)});
}

void Job::NoteSize(std::int64_t input, std::int64_t output) {
    constexpr std::int64_t worthTelling = 1000000;
    if (m_container.isStill || output - input < worthTelling || output / 3 <= input / 2)
        return;
    constexpr double mega = 1e6;
    AddNotes({fmt::format(
        "The pictures take {:.1f} MB, {:.1f} times as much as in the input; a lower quality makes "
        "them smaller.",
        static_cast<double>(output) / mega,
        static_cast<double>(output) / static_cast<double>(std::max<std::int64_t>(input, 1)))});
}

/// All packets as they are, but those of sound that is worked on.
void Job::Copy(NonVideoStreams& sound) {
    if (m_source != nullptr) { // it has looked for the first picture; now all packets are wanted
        m_source.reset();
        m_demuxer = std::make_unique<Demuxer>(m_options.input, m_stop.get_token());
    }
    Demuxer& demuxer = *m_demuxer;
    bool const countsPictures = m_streams.picture >= 0 && !demuxer.IsCover();
    Muxer muxer(*m_container.format, *m_file, m_streams, sound.GetEncoders(nullptr));

    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const packets = pipeline.AddStage<UniquePacket>(
        [&](UniquePacket packet) {
            if (packet->stream_index == m_streams.picture)
                m_progress.Add(GetEnd(*packet));
            else if (!countsPictures)
                m_progress.Reach(GetEnd(*packet));
            sound.Write(*packet, muxer);
        },
        [&] {
            sound.End(muxer);
            muxer.Close();
        });
    pipeline.Run([&] {
        UniquePacket packet = MakePacket();
        while (demuxer.Read(*packet))
            packets.give(std::exchange(packet, MakePacket()));
        packets.close();
    });

    m_result.framesIn = m_result.framesOut = m_progress.GetFrames();
    AddNotes(demuxer.GetNotes());
    AddNotes(muxer.GetNotes());
}

/// Where a packet of the input ends, in microseconds; a cover, which lasts for ever, nowhere.
std::int64_t Job::GetEnd(AVPacket const& packet) const {
    auto const index = static_cast<unsigned>(packet.stream_index);
    bool const isKnown = index < m_streams.context->nb_streams && packet.pts != AV_NOPTS_VALUE &&
                         (m_streams.context->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
    return isKnown ? ToMicroseconds(av_sat_add64(packet.pts, packet.duration),
                                    FromAV(m_streams.context->streams[index]->time_base))
                   : INT64_MIN;
}

void Job::Report() const {
    if (m_options.onProgress)
        m_options.onProgress(m_progress.Get());
}

void Job::AddNotes(std::vector<std::string> notes) {
    for (std::string& note : notes)
        m_result.notes.push_back(std::move(note));
}

} // namespace

std::vector<Conf::PixFmt> FindVideoFormats(RunOptions const& options) {
    RunPlan const plan = PlanEncoders(options);
    return plan.videoEncoder != nullptr ? GetEncoderRules(*plan.videoEncoder, *plan.container.format).formats
                                        : std::vector<Conf::PixFmt>();
}

void CheckRun(RunOptions const& options) {
    MakeRunPlan(options);
}

RunResult Run(RunOptions const& options, std::stop_token stop) {
    std::stop_source own;
    std::stop_callback const forward(stop, [&own] { own.request_stop(); });
    try {
        return Job(options, own).Run();
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(
            {s_file, "RunResult Tarsel::Media::Run(const RunOptions &, std::stop_token)"},
            fmt::format("{} was not finished: the run was stopped", Quote(options.output)));
    }
}

} // namespace Tarsel::Media
