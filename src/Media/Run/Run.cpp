#include "Media/Run.h"

#include "Core/Stopwatch.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Codec/Encoders.h"
#include "Media/Container/Output.h"
#include "Media/Container/SequenceFiles.h"
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
#include <functional>
#include <memory>
#include <optional>
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
          m_isStill(m_checked.IsOneImage()) {}

    RunResult Run();

private:
    void Open();
    void Plan();
    void Work();
    void WorkOnVideo(Output& file, NonVideoStreams& beside);
    void WorkOnSequence(Sequence const& sequence);
    void PassVideo(Pipeline& pipeline, std::function<void(WorkedFrame const&)> const& write,
                   std::function<void()> const& close);
    bool IsWanted(WorkedFrame const& frame);
    void NoteVideo();
    void EndPart(Writer const& writer);
    void WriteEmptyPart();
    void JoinVideo(Output& file, NonVideoStreams& beside);
    void Copy(Output& file, NonVideoStreams& beside);
    /// Null where the files have their names already.
    void Publish(Output* file);
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
    CheckIsNoTerminal(m_options.output);
    Open();
    Plan();
    if (m_input.part && m_input.part->IsEmpty())
        WriteEmptyPart();
    else
        Work();
    return std::move(m_result);
}

void Job::Open() {
    m_input = OpenInput(m_checked, m_stop.get_token());
    m_progress.SetSpan(m_input.GetDemuxer().GetStart(), m_input.GetDemuxer().GetDuration(),
                       m_input.part ? m_input.part->written : m_input.streams.span);
    if (m_input.part) {
        Span const& written = m_input.part->written;
        m_result.part.emplace();
        m_result.part->from = written.from;
        m_result.part->to = written.to;
        if (written.from != INT64_MIN && !m_input.GetDemuxer().SeeksExactly())
            AddNotes({"Decoded the input from its beginning: files of its kind have no index."});
    }
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
    std::unique_ptr<Output> file;
    if (m_checked.sequence)
        WorkOnSequence(*m_checked.sequence);
    else if (file = OpenOutput(m_options.output, m_options.overwrite, m_stop.get_token());
             m_planned.video != nullptr)
        WorkOnVideo(*file, beside);
    else if (m_input.parts != nullptr)
        JoinVideo(*file, beside);
    else
        Copy(*file, beside);
    AddNotes(beside.GetNotes());
    beside.AddTimes(m_times);
    m_result.framesOut = m_progress.GetFrames();
    m_result.audioSeconds = m_progress.GetAudioSeconds();
    Report();
    Publish(file.get());
    m_result.times = m_times.Get();
}

void Job::Publish(Output* file) {
    if (m_stop.stop_requested())
        throw Stopped();
    if (file != nullptr) {
        file->Publish();
        m_result.bytes = file->GetByteCount();
    }
    m_result.seconds = m_progress.GetSeconds();
}

void Job::WriteEmptyPart() {
    auto const file = OpenOutput(m_options.output, m_options.overwrite, m_stop.get_token());
    file->Close();
    Publish(file.get());
    AddNotes({fmt::format("Part {} of {} holds no frames: the video has too few key frames.",
                          m_options.part->number, m_options.part->count)});
}

void Job::WorkOnVideo(Output& file, NonVideoStreams& beside) {
    InputStreams const& streams = m_input.streams;
    VideoEncoder& encoder = *m_planned.videoEncoder;
    std::optional<NonVideoReader> others;
    if (!m_isStill && !m_input.part && streams.context->nb_streams > 1)
        others.emplace(m_input.GetDemuxer(), streams.span);
    else
        m_input.GetDemuxer().ForgetRead();
    Muxer muxer(std::move(m_planned.output), file, streams);
    Writer writer(encoder, muxer, streams, others ? &*others : nullptr, beside, m_progress);

    Pipeline pipeline(m_stop, [this] { Report(); });
    PassVideo(
        pipeline, [&](WorkedFrame const& frame) { writer.Write(frame); }, [&] { writer.Close(); });
    if (m_result.part)
        EndPart(writer);

    VideoSource const& source = *m_input.source;
    NoteShortRange(source.GetEnd());
    NoteSize(source.GetByteCount(), writer.GetByteCount());
    AddNotes(others ? others->GetNotes() : source.GetDemuxer().GetNotes());
    NoteVideo();
    AddNotes(muxer.GetNotes());
    if (auto const written = file.GetWrittenPath(); !written.empty())
        AddNotes(DescribeLostFacts(m_input.facts, written));
}

/// An image for each frame; those that are written stay, whatever comes.
void Job::WorkOnSequence(Sequence const& sequence) {
    VideoEncoder& encoder = *m_planned.videoEncoder;
    SequenceFiles files(m_options.output, sequence, m_options.firstNumber, m_options.overwrite);
    auto const write = [&] {
        while (AVPacket const* const packet = encoder.Receive())
            files.Write({packet->data, static_cast<std::size_t>(packet->size)});
    };
    Pipeline pipeline(m_stop, [this] { Report(); });
    try {
        PassVideo(
            pipeline,
            [&](WorkedFrame const& frame) {
                encoder.Send(frame);
                write();
                m_progress.Add(av_sat_add64(frame.data->GetTime(), frame.data->GetDuration()));
            },
            [&] {
                encoder.End();
                write();
            });
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(fmt::format("Interrupted: {} of {} are written",
                                                      CountText(files.GetCount(), "image"),
                                                      Quote(m_options.output)));
    }
    NoteShortRange(m_input.source->GetEnd());
    AddNotes(m_input.GetDemuxer().GetNotes());
    NoteVideo();
    AddNotes(DescribeLostFacts(m_input.facts, files.GetFirstPath()));
    AddNotes(files.GetNotes());
    m_result.bytes = files.GetByteCount();
}

/// Once it has passed.
void Job::NoteVideo() {
    m_result.framesIn = m_input.source->GetFrameCount();
    AddNotes(m_input.source->GetNotes());
    AddNotes(m_planned.videoEncoder->GetNotes());
    if (std::int64_t const moved = m_planned.video->GetMovedCount(); moved > 0)
        AddNotes({fmt::format("Moved {}, which did not increase, by the smallest step.",
                              CountText(moved, "frame timestamp"))});
}

/// Of the results: of an image the first, of a part no others than its own, which it counts.
bool Job::IsWanted(WorkedFrame const& frame) {
    if (m_isStill)
        return m_progress.GetFrames() == 0;
    if (!m_input.part)
        return true;
    if (!m_input.part->written.Contains(frame.data->GetTime()))
        return false;
    PartFacts& facts = *m_result.part;
    if (facts.frames++ == 0)
        facts.first = frame.time.start;
    facts.last = frame.time.start;
    facts.end = av_sat_add64(frame.time.start, frame.time.duration);
    return true;
}

void Job::EndPart(Writer const& writer) {
    PartFacts& facts = *m_result.part;
    VideoEncoder const& encoder = *m_planned.videoEncoder;
    facts.packets = writer.GetPacketCount();
    facts.timeBase = encoder.GetTimeBase();
    facts.frameRate = FromAV(encoder.GetContext().framerate);
    facts.encoder = m_result.videoEncoder;
}

/// Three stages: read and decode, work, encode and write.
void Job::PassVideo(Pipeline& pipeline, std::function<void(WorkedFrame const&)> const& write,
                    std::function<void()> const& close) {
    VideoWork& work = *m_planned.video;
    auto const worked = pipeline.AddStage<WorkedFrame>(
        [&](WorkedFrame const& frame) {
            Core::Stopwatch const watch(m_times.writing);
            if (IsWanted(frame))
                write(frame);
            m_times.Leave();
        },
        [&] {
            Core::Stopwatch const watch(m_times.writing);
            close();
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

/// The packets of the parts, and beside them all other streams as in a run of the whole.
void Job::JoinVideo(Output& file, NonVideoStreams& beside) {
    InputStreams const& streams = m_input.streams;
    PartJoiner& parts = *m_input.parts;
    Ratio const timeBase = FromAV(parts.GetStream().time_base);
    std::optional<NonVideoReader> others;
    if (streams.context->nb_streams > 1)
        others.emplace(m_input.GetDemuxer(), streams.span);
    Muxer muxer(std::move(m_planned.output), file, streams);
    auto const writeOthersBefore = [&](std::int64_t time) {
        while (AVPacket* const packet = others ? others->NextBefore(time) : nullptr)
            beside.Write(*packet, muxer);
    };
    Pipeline pipeline(m_stop, [this] { Report(); });
    auto const packets = pipeline.AddStage<UniquePacket>(
        [&](UniquePacket packet) {
            Core::Stopwatch const watch(m_times.writing);
            std::int64_t const ticks = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
            writeOthersBefore(ToMicroseconds(ticks, timeBase));
            m_progress.Add(ToMicroseconds(av_sat_add64(packet->pts, packet->duration), timeBase));
            packet->stream_index = streams.video;
            muxer.Write(*packet, timeBase);
        },
        [&] {
            Core::Stopwatch const watch(m_times.writing);
            writeOthersBefore(INT64_MAX);
            beside.End(muxer);
            muxer.Close();
        });
    pipeline.Run([&] {
        UniquePacket packet = MakePacket();
        auto const read = [&] {
            Core::Stopwatch const watch(m_times.reading);
            return parts.Read(*packet);
        };
        while (read())
            packets.give(std::exchange(packet, MakePacket()));
        packets.close();
    });
    m_result.framesIn = parts.GetFacts().frames;
    AddNotes(others ? others->GetNotes() : std::vector<std::string>());
    AddNotes(muxer.GetNotes());
}

/// All packets as they are, but those of streams that are worked on.
void Job::Copy(Output& file, NonVideoStreams& beside) {
    InputStreams const& streams = m_input.streams;
    if (m_input.source != nullptr) { // it has looked for the first picture; now
                                     // all packets are wanted
        m_input.demuxer = m_input.source->GetDemuxer().Reopen();
        m_input.source.reset();
    }
    Demuxer& demuxer = *m_input.demuxer;
    demuxer.ForgetRead();
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
                                              Quote(m_options.input.GetName()), SecondsText(end)));
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
    CheckIsNoTerminal(options.output);
}

RunPlan Plan(RunOptions const& options, std::stop_token stop) {
    try {
        CheckedOptions const checked = CheckOptions(options);
        OpenedInput input = OpenInput(checked, stop);
        Ticker ticker(stop, [] {});
        return PlanRun(checked, input, [&] { ticker.Tick(); }).plan;
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(fmt::format("Interrupted: {} was not read to the end of planning",
                                                      Quote(options.input.GetName())));
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
