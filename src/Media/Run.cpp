#include "Media/Run.h"

#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Media/EncoderSettings.h"
#include "Media/FFmpegVersions.h"
#include "Media/InputStreams.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Media/OtherStreams.h"
#include "Media/OutputFile.h"
#include "Media/Paths.h"
#include "Media/Pipeline.h"
#include "Media/Progress.h"
#include "Media/Source.h"
#include "Media/Stopped.h"
#include "Media/Writer.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/Run";

/// One run: its files, and the stages between them.
class Job {
public:
    Job(RunOptions const& options, std::stop_source stop) : m_options(options), m_stop(std::move(stop)) {}

    /// Whatever can be refused before the input is opened.
    void Check();
    RunResult Run();

private:
    using Lane = Proc::IEffectStreamVideo;

    void CheckOptions() const;
    void SelectStill();
    void KeepCoverCodec();
    void KeepPictureAlone() const;
    std::string DescribeCopyObstacle() const;
    bool WantsEncoder() const;
    std::unique_ptr<Lane> MakeLane();
    void Work(Lane& lane);
    void Copy();
    void Report() const;
    void AddNotes(std::vector<std::string> notes);

    RunOptions const& m_options;
    std::stop_source m_stop;
    Container m_container;
    AVCodec const* m_encoder = nullptr;
    Progress m_progress;
    std::unique_ptr<Source> m_source;
    InputStreams m_streams;
    VideoStreamInfo m_info;
    std::unique_ptr<OutputFile> m_file;
    RunResult m_result;
};

void Job::CheckOptions() const {
    if (!m_options.at)
        return;
    auto const fail = [](std::string const& description) {
        Core::Throw<OptionsException>(
            {s_file, "void Tarsel::Media::(anonymous namespace)::Job::CheckOptions() const"}, description);
    };
    if (!m_container.isStill)
        fail(fmt::format("A time ({} s) picks one picture, but {} is a film", *m_options.at,
                         Quote(m_options.output)));
    if (!(*m_options.at >= 0 && *m_options.at < 1e9))
        fail(fmt::format("{} s is no time in a film; legal: 0 to its end", *m_options.at));
}

void Job::Check() {
    CheckInputPath(m_options.input);
    CheckOutputPath(m_options.output, m_options.input, m_options.overwrite);
    m_container = ChooseContainer(m_options.output);
    m_encoder = &ChooseEncoder(m_container, m_options.output, m_options.videoEncoder);
    CheckEncoderOptions(*m_encoder, m_options.videoEncoderOptions);
    CheckOptions();
}

RunResult Job::Run() {
    Check();
    m_source = std::make_unique<Source>(m_options.input, m_stop.get_token());
    SelectStill();
    KeepCoverCodec();
    m_info = m_source->GetInfo();
    Demuxer const& input = m_source->GetDemuxer();
    m_streams = DescribeStreams(input.GetContext(), input.GetPicture().index);
    if (m_container.isStill)
        KeepPictureAlone();
    m_progress.SetSpan(input.GetStart(), input.GetDuration());

    std::unique_ptr<Lane> const lane = MakeLane();
    m_file = std::make_unique<OutputFile>(m_options.output, m_options.overwrite);
    if (lane != nullptr)
        Work(*lane);
    else
        Copy();
    Report();
    if (m_stop.stop_requested())
        throw Stopped();
    m_file->Publish();
    m_result.seconds = m_progress.GetSeconds();
    return std::move(m_result);
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
    else if (input.GetPicture().nb_frames != 1)
        fail(fmt::format("{} is a film and {} one picture: a time in the film is needed",
                         Quote(m_options.input), Quote(m_options.output)));
}

/// A sound file's cover stays what it was, whatever films in the container are encoded with.
void Job::KeepCoverCodec() {
    Demuxer const& input = m_source->GetDemuxer();
    if (!input.IsCover() || m_container.isStill || !m_options.videoEncoder.empty())
        return;
    if (AVCodec const* const same = avcodec_find_encoder(input.GetPicture().codecpar->codec_id))
        m_encoder = same;
    CheckEncoderOptions(*m_encoder, m_options.videoEncoderOptions);
}

/// A still holds nothing beside its picture, and nobody expects sound in it: no word of what is left out.
void Job::KeepPictureAlone() const {
    for (unsigned i = 0; i < m_streams.context->nb_streams; ++i)
        if (static_cast<int>(i) != m_streams.picture)
            m_streams.context->streams[i]->discard = AVDISCARD_ALL;
}

/// Why the picture stream cannot be copied into the container; "" when it can.
std::string Job::DescribeCopyObstacle() const {
    Demuxer const& input = m_source->GetDemuxer();
    AVOutputFormat const& format = *m_container.format;
    AVCodecID const codec = input.GetPicture().codecpar->codec_id;
    bool const canHold = input.IsCover() && !m_container.isStill
                             ? CanHoldCover(format)
                             : CanHold(m_container, m_options.output, codec);
    if (!canHold)
        return fmt::format("{} cannot hold {}", Quote(m_options.output.filename()), avcodec_get_name(codec));
    if (m_info.orientation.GetOrientation().value_or(1) != 1 && !m_container.isStill && !IsMovFamily(format))
        return fmt::format("{} cannot hold their orientation", Quote(m_options.output.filename()));
    bool const needsTimes =
        (format.flags & AVFMT_NOTIMESTAMPS) == 0 && m_streams.container != format.name && !input.IsStill();
    return needsTimes && !m_source->HasPacketTimes() ? "the input does not say when they are shown"
                                                     : std::string();
}

bool Job::WantsEncoder() const {
    return !m_options.videoEncoder.empty() || !m_options.videoEncoderOptions.empty() || m_options.at;
}

/// Null: the picture stream is copied.
std::unique_ptr<Proc::IEffectStreamVideo> Job::MakeLane() {
    m_info.copyObstacle = WantsEncoder() ? "the options ask for an encoder" : DescribeCopyObstacle();
    std::unique_ptr<Lane> lane = m_options.makeVideoLane ? m_options.makeVideoLane(m_info) : nullptr;
    if (lane != nullptr || m_info.copyObstacle.empty())
        return lane;
    if (!WantsEncoder() && !m_container.isStill)
        AddNotes({"The pictures were encoded anew: " + m_info.copyObstacle + "."});
    if (m_info.orientation != Conf::DisplayMatrix::s_default)
        AddNotes({"The orientation tag of the pictures was dropped, since they were encoded anew."});
    return std::make_unique<Host::VideoChain>(); // without steps: the pictures as they are
}

/// Three stages: read and decode, work, encode and write.
void Job::Work(Lane& lane) {
    TimeMap times(m_info.timeBase);
    std::optional<OtherStreams> others;
    if (!m_container.isStill && m_streams.context->nb_streams > 1)
        others.emplace(m_options.input, m_stop.get_token());
    Writer writer({m_encoder,
                   m_options.videoEncoderOptions,
                   m_container.format,
                   times.GetTimeBase(),
                   m_info.frameRate,
                   m_source->GetFirstDuration(),
                   m_container.isStill,
                   {m_info.format, m_info.space}},
                  *m_file, m_streams, others ? &*others : nullptr, m_progress);

    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const worked = pipeline.AddStage<WorkedFrame>(
        [&](WorkedFrame const& frame) {
            if (!m_container.isStill || m_progress.GetFrames() == 0)
                writer.Write(frame);
        },
        [&] { writer.Close(); });
    auto const takeAll = [&] {
        while (SP<Proc::IDataVideo> data = lane.Take()) {
            FrameTime const time = times.Leave(data->GetTime(), data->GetDuration());
            worked.give({std::move(data), time});
        }
    };
    auto const decoded = pipeline.AddStage<SourceFrame>(
        [&](SourceFrame const& frame) {
            times.Enter(frame.data->GetTime(), frame.data->GetDuration(), frame.time);
            lane.Feed(frame.data);
            takeAll();
        },
        [&] {
            lane.End();
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
    m_result.videoEncoder = m_encoder->name;
    AddNotes(others ? others->GetNotes() : m_source->GetDemuxer().GetNotes());
    AddNotes(m_source->GetNotes());
    AddNotes(writer.GetNotes());
    if (times.GetMovedCount() > 0)
        AddNotes({CountText(times.GetMovedCount(), "picture time") +
                  " not after the one before and moved by the least step."});
}

/// All packets as they are.
void Job::Copy() {
    m_source.reset(); // it has looked for the first picture; now all packets are wanted
    Demuxer demuxer(m_options.input, m_stop.get_token());
    Muxer muxer(*m_container.format, *m_file, m_streams, nullptr);

    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const packets = pipeline.AddStage<UniquePacket>(
        [&](UniquePacket packet) {
            if (packet->stream_index == m_streams.picture)
                m_progress.Add(ToMicroseconds(
                    packet->pts != AV_NOPTS_VALUE ? packet->pts + packet->duration : 0, m_info.timeBase));
            muxer.WriteCopied(*packet);
        },
        [&] { muxer.Close(); });
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

void Job::Report() const {
    if (m_options.onProgress)
        m_options.onProgress(m_progress.Get());
}

void Job::AddNotes(std::vector<std::string> notes) {
    for (std::string& note : notes)
        m_result.notes.push_back(std::move(note));
}

} // namespace

void CheckRun(RunOptions const& options) {
    Job(options, {}).Check();
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
