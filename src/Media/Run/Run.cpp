#include "Media/Run.h"

#include "Core/Stopwatch.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Codec/Encoders.h"
#include "Media/Container/OutputFile.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/ImageFacts.h"
#include "Media/Read/NonVideoReader.h"
#include "Media/Run/FrameWatch.h"
#include "Media/Run/NonVideoStreams.h"
#include "Media/Run/Pipeline.h"
#include "Media/Run/Planner.h"
#include "Media/Run/ProgressMeter.h"
#include "Media/Run/StageTimes.h"
#include "Media/Run/Writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

namespace {

/// One run: opens its input, has it planned, and works off the plan.
class Job {
public:
    Job(RunOptions const& options, std::stop_source stop)
        : m_options(options), m_stop(std::move(stop)), m_checked(CheckOptions(options)),
          m_isStill(m_checked.container.isStill) {}

    RunResult Run();

private:
    void Open();
    void Plan();
    void Work();
    void WorkOnVideo(OutputFile& file, NonVideoStreams& beside);
    void PassVideo(Pipeline& pipeline, Writer& writer);
    void Copy(OutputFile& file, NonVideoStreams& beside);
    void NoteSize(std::int64_t input, std::int64_t output);
    std::int64_t GetEnd(AVPacket const& packet) const;
    void CheckReached(std::int64_t end) const;
    void NoteShortRange(std::int64_t end);
    void Report() const;
    void AddNotes(std::vector<std::string> notes);

    RunOptions const& m_options;
    std::stop_source m_stop;
    CheckedOptions const m_checked;
    bool const m_isStill;
    ProgressMeter m_progress;
    StageTimes m_times;
    OpenedInput m_input;
    PlannedRun m_planned;
    RunResult m_result;
};

RunResult Job::Run() {
    Open();
    Plan();
    Work();
    return std::move(m_result);
}

void Job::Open() {
    m_input = OpenInput(m_checked, m_stop.get_token());
    m_progress.SetSpan(m_input.GetDemuxer().GetStart(), m_input.GetDemuxer().GetDuration(),
                       m_input.streams.span);
}

void Job::Plan() {
    Ticker ticker(m_stop.get_token(), [this] { Report(); });
    m_planned = PlanRun(m_checked, m_input, [&] { ticker.Tick(); });
    m_result.plan = m_planned.plan;
    RunPlan const& plan = m_result.plan;
    AddNotes(plan.ListNotes());
    for (std::size_t i = 0; i < plan.streams.size(); ++i) {
        AVStream const& stream = *m_input.streams.context->streams[i];
        if (static_cast<int>(i) == m_input.streams.video)
            m_result.videoEncoder = plan.streams[i].encoder;
        else if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && stream.discard != AVDISCARD_ALL)
            m_result.audioEncoders.push_back(plan.streams[i].encoder);
    }
}

void Job::Work() {
    if (m_options.onFrame)
        WatchFrames(m_options.onFrame, m_input.streams, m_planned);
    NonVideoStreams beside(m_input.streams, std::move(m_planned.streams), m_progress, m_stop.get_token());
    OutputFile file(m_options.output, m_options.overwrite);
    if (m_planned.video != nullptr)
        WorkOnVideo(file, beside);
    else
        Copy(file, beside);
    AddNotes(beside.GetNotes());
    beside.AddTimes(m_times);
    m_result.framesOut = m_progress.GetFrames();
    m_result.audioSeconds = m_progress.GetAudioSeconds();
    Report();
    if (m_stop.stop_requested())
        throw Stopped();
    file.Publish();
    std::error_code unknown;
    if (auto const bytes = std::filesystem::file_size(m_options.output, unknown); !unknown)
        m_result.bytes = static_cast<std::int64_t>(bytes);
    m_result.seconds = m_progress.GetSeconds();
    m_result.times = m_times.Get();
}

void Job::WorkOnVideo(OutputFile& file, NonVideoStreams& beside) {
    InputStreams const& streams = m_input.streams;
    VideoEncoder& encoder = *m_planned.videoEncoder;
    std::optional<NonVideoReader> others;
    if (!m_isStill && streams.context->nb_streams > 1)
        others.emplace(m_input.GetDemuxer(), streams.span);
    Muxer muxer(std::move(m_planned.output), file, streams);
    Writer writer(encoder, muxer, streams, others ? &*others : nullptr, beside, m_progress);

    Pipeline pipeline(m_stop, [this] { Report(); });
    PassVideo(pipeline, writer);

    VideoSource const& source = *m_input.source;
    m_result.framesIn = source.GetFrameCount();
    NoteShortRange(source.GetEnd());
    NoteSize(source.GetByteCount(), writer.GetByteCount());
    AddNotes(others ? others->GetNotes() : source.GetDemuxer().GetNotes());
    AddNotes(source.GetNotes());
    AddNotes(encoder.GetNotes());
    AddNotes(muxer.GetNotes());
    AddNotes(DescribeLostFacts(m_input.facts, file.GetTemporaryPath()));
    if (std::int64_t const moved = m_planned.video->GetMovedCount(); moved > 0)
        AddNotes({fmt::format("Moved {}, which did not increase, by the smallest step.",
                              CountText(moved, "frame timestamp"))});
}

/// Three stages: read and decode, work, encode and write.
void Job::PassVideo(Pipeline& pipeline, Writer& writer) {
    VideoWork& work = *m_planned.video;
    auto const worked = pipeline.AddStage<WorkedFrame>(
        [&](WorkedFrame const& frame) {
            Core::Stopwatch const watch(m_times.writing);
            if (!m_isStill || m_progress.GetFrames() == 0)
                writer.Write(frame);
            m_times.Leave();
        },
        [&] {
            Core::Stopwatch const watch(m_times.writing);
            writer.Close();
        });
    auto const take = [&] {
        Core::Stopwatch const watch(m_times.effects);
        return work.Take();
    };
    auto const takeAll = [&] {
        while (auto frame = take())
            worked.give(std::move(*frame));
    };
    auto const decoded = pipeline.AddStage<SourceFrame>(
        [&](SourceFrame const& frame) {
            takeAll(); // the first results are there already
            {
                Core::Stopwatch const watch(m_times.effects);
                work.Feed(frame);
            }
            takeAll();
        },
        [&] {
            takeAll();
            {
                Core::Stopwatch const watch(m_times.effects);
                work.End();
            }
            takeAll();
            worked.close();
        });
    pipeline.Run([&] {
        auto const next = [&] {
            Core::Stopwatch const watch(m_times.reading);
            return m_input.source->Next();
        };
        while (auto frame = next()) {
            m_times.Enter();
            decoded.give(std::move(*frame));
        }
        decoded.close();
    });
}

/// All packets as they are, but those of streams that are worked on.
void Job::Copy(OutputFile& file, NonVideoStreams& beside) {
    InputStreams const& streams = m_input.streams;
    if (m_input.source != nullptr) { // it has looked for the first picture; now
                                     // all packets are wanted
        m_input.demuxer = m_input.source->GetDemuxer().Reopen();
        m_input.source.reset();
    }
    Demuxer& demuxer = *m_input.demuxer;
    demuxer.EndWith(streams.span);
    std::int64_t reached = INT64_MIN;
    bool const countsPictures = streams.video >= 0 && !demuxer.IsCover();
    Muxer muxer(std::move(m_planned.output), file, streams);

    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const packets = pipeline.AddStage<UniquePacket>(
        [&](UniquePacket packet) {
            Core::Stopwatch const watch(m_times.writing);
            std::int64_t const end = GetEnd(*packet);
            std::int64_t const inOutput = av_sat_sub64(end, streams.span.GetOrigin());
            bool const isVideo = packet->stream_index == streams.video;
            reached = std::max(reached, end);
            bool const isWritten = beside.Write(*packet, muxer);
            if (isVideo && isWritten)
                m_progress.Add(inOutput);
            else if (!isVideo && !countsPictures)
                m_progress.Reach(inOutput);
        },
        [&] {
            Core::Stopwatch const watch(m_times.writing);
            CheckReached(reached);
            beside.End(muxer);
            muxer.Close();
        });
    pipeline.Run([&] {
        UniquePacket packet = MakePacket();
        auto const read = [&] {
            Core::Stopwatch const watch(m_times.reading);
            return demuxer.Read(*packet);
        };
        while (read())
            packets.give(std::exchange(packet, MakePacket()));
        packets.close();
    });

    m_result.framesIn = m_progress.GetFrames();
    NoteShortRange(reached);
    AddNotes(demuxer.GetNotes());
    AddNotes(muxer.GetNotes());
}

void Job::NoteSize(std::int64_t input, std::int64_t output) {
    constexpr std::int64_t worthTelling = 1000000;
    if (m_isStill || output - input < worthTelling || output / 3 <= input / 2)
        return;
    constexpr double mega = 1e6;
    bool const hasQualities = !LosesNothing(*m_planned.videoEncoder->GetContext().codec);
    AddNotes({fmt::format("The video takes {:.1f} MB, {:.1f} times as much as in the input{}.",
                          static_cast<double>(output) / mega,
                          static_cast<double>(output) / static_cast<double>(std::max<std::int64_t>(input, 1)),
                          hasQualities ? "; a lower quality makes it smaller" : "")});
}

/// Where a packet of the input ends, in microseconds; a cover, which lasts for ever, nowhere.
std::int64_t Job::GetEnd(AVPacket const& packet) const {
    AVFormatContext const& context = *m_input.streams.context;
    auto const index = static_cast<unsigned>(packet.stream_index);
    bool const isKnown = index < context.nb_streams && packet.pts != AV_NOPTS_VALUE &&
                         (context.streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
    return isKnown ? ToMicroseconds(av_sat_add64(packet.pts, packet.duration),
                                    FromAV(context.streams[index]->time_base))
                   : INT64_MIN;
}

/// A range behind the end of the file, of which only reading it tells.
void Job::CheckReached(std::int64_t end) const {
    bool const isEmpty = m_progress.GetFrames() == 0 && m_progress.GetAudioSeconds() == 0;
    if (m_input.streams.span.IsWhole() || !isEmpty)
        return;
    Core::Throw<OptionsException>(fmt::format("There is nothing of {} in the range: it ends at {}",
                                              Quote(m_options.input), SecondsText(end)));
}

/// `end` is where the input ends, in microseconds.
void Job::NoteShortRange(std::int64_t end) {
    Span const& span = m_input.streams.span;
    if (span.to != INT64_MAX && end != INT64_MIN && end < span.to)
        AddNotes({fmt::format("The input ends at {}, before the range does.", SecondsText(end))});
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
    CheckedOptions const checked = CheckEncoders(options);
    return checked.videoEncoder != nullptr
               ? GetEncoderRules(*checked.videoEncoder, *checked.container.format).formats
               : std::vector<Conf::PixFmt>();
}

bool KeepsClearColors(RunOptions const& options) {
    AVCodec const* const encoder = CheckEncoders(options).videoEncoder;
    return encoder != nullptr && GetCodecFacts(encoder->id).hasClearColors;
}

void CheckRun(RunOptions const& options) {
    CheckOptions(options);
}

RunPlan Plan(RunOptions const& options, std::stop_token stop) {
    try {
        CheckedOptions const checked = CheckOptions(options);
        OpenedInput input = OpenInput(checked, stop);
        Ticker ticker(stop, [] {});
        return PlanRun(checked, input, [&] { ticker.Tick(); }).plan;
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(
            fmt::format("Interrupted: {} was not read to the end of planning", Quote(options.input)));
    }
}

RunResult Run(RunOptions const& options, std::stop_token stop) {
    std::stop_source own;
    std::stop_callback const forward(stop, [&own] { own.request_stop(); });
    try {
        return Job(options, own).Run();
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(
            fmt::format("Interrupted: {} was not written", Quote(options.output)));
    }
}

} // namespace Tarsel::Media
