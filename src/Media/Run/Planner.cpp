#include "Media/Run/Planner.h"

#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Codec/VideoCodec.h"
#include "Media/Container/FileHeader.h"
#include "Media/MediaExceptions.h"
#include "Media/Run/AudioPlanner.h"
#include "Media/Run/StreamFacts.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

/// Whether the container's writer refuses the packets, though it takes the codec: AVI wants start codes.
bool WantsStartCodes(AVOutputFormat const& format, AVCodecParameters const& parameters) {
    bool const hasLengths = parameters.extradata_size > 0 && parameters.extradata[0] == 1;
    bool const canHaveEither =
        parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC;
    return GetTraits(format).wantsStartCodes && canHaveEither && hasLengths;
}

bool IsVideo(AVStream const& stream) noexcept {
    bool const isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !isCover;
}

class Planner {
public:
    Planner(CheckedOptions const& checked, OpenedInput& input, std::function<void()> const& onWait)
        : m_checked(checked), m_options(checked.options), m_container(checked.container),
          m_format(*checked.container.format), m_input(input), m_streams(input.streams), m_onWait(onWait) {
        m_run.plan = DescribeInput(m_streams);
        m_run.plan.outputContainer = m_format.name;
        m_run.streams.resize(m_streams.context->nb_streams);
    }

    PlannedRun Make();

private:
    using Chain = std::unique_ptr<Proc::IEffectStreamVideo>;

    void LeaveOutWhatFilesLack();
    std::string DescribeCopyObstacle() const;
    void PlanVideo();
    void PlanEncoders();
    void PreferEncoders(std::vector<AVCodec const*> encoders);
    Chain MakeChain();
    void Encode(Chain chain);
    void OpenEncoder(EncoderRequest request, WorkedFrame const& first);
    bool AsksQuality() const;
    Quality ChooseQuality() const;
    void NoteEncoding(AVCodec const& encoder);
    void PlanText();
    void PlanOutput();
    StreamPlan& GetVideoPlan() { return m_run.plan.streams[static_cast<std::size_t>(m_streams.video)]; }
    void NoteVideo(std::string note) { GetVideoPlan().notes.push_back(std::move(note)); }

    CheckedOptions const& m_checked;
    RunOptions const& m_options;
    Container const& m_container;
    AVOutputFormat const& m_format;
    OpenedInput& m_input;
    InputStreams& m_streams;
    std::function<void()> const& m_onWait;
    PlannedRun m_run;
    AVCodec const* m_encoder = nullptr;
    /// For pictures that the encoder does not take: others of their codec, then the usual one.
    std::vector<AVCodec const*> m_otherEncoders;
    /// Null where that is not one of those.
    AVCodec const* m_usualEncoder = nullptr;
    bool m_hasEffects = false;
};

PlannedRun Planner::Make() {
    LeaveOutWhatFilesLack();
    PlanVideo();
    PlanAudio(m_checked, m_streams, m_run);
    PlanText();
    PlanOutput();
    return std::move(m_run);
}

/// A still holds nothing beside its picture, and nobody expects audio in it: no word of what is left out.
/// Containers for audio may well take a film's pictures, and players would show it.
void Planner::LeaveOutWhatFilesLack() {
    bool const isAudioOfFilm =
        m_container.isAudio && m_streams.video >= 0 && IsVideo(*m_streams.context->streams[m_streams.video]);
    for (unsigned i = 0; i < m_streams.context->nb_streams; ++i) {
        AVStream& stream = *m_streams.context->streams[i];
        bool const isBeside = m_container.isStill && static_cast<int>(i) != m_streams.video;
        if (stream.discard == AVDISCARD_ALL || !(isBeside || (isAudioOfFilm && IsVideo(stream))))
            continue;
        stream.discard = AVDISCARD_ALL;
        m_run.plan.streams[i].reason =
            fmt::format("{} is {}", m_container.name, isBeside ? "an image" : "an audio file");
    }
    if (!isAudioOfFilm)
        return;
    NoteVideo(fmt::format("Left out the video: {} is an audio file.", m_container.name));
    m_streams.video = -1;
}

/// Why the video cannot be copied into the container; "" when it can.
std::string Planner::DescribeCopyObstacle() const {
    Demuxer const& input = m_input.GetDemuxer();
    if (m_checked.sequence || input.IsSequence())
        return fmt::format(
            "{} is a sequence of images",
            Quote(m_checked.sequence ? m_options.output.filename() : m_options.input.GetName().filename()));
    AVStream const& video = input.GetVideo();
    AVCodecID const codec = video.codecpar->codec_id;
    bool const canHold = input.IsCover() && !m_container.isStill
                             ? GetTraits(m_format).covers != Covers::None
                             : CanHold(m_container, codec) && TakesAlone(m_format, video);
    if (!canHold || WantsStartCodes(m_format, *video.codecpar))
        return fmt::format("{} cannot hold {}", m_container.name, avcodec_get_name(codec));
    bool const isAsItIs = input.IsStill() || m_input.source == nullptr ||
                          TakesPacket(m_format, video, m_input.source->GetFirstPacket());
    if (!isAsItIs)
        return fmt::format("{} cannot hold {} as it is encoded", m_container.name, avcodec_get_name(codec));
    if (m_input.video.orientation.GetOrientation().value_or(1) != 1 && !m_container.isStill &&
        !GetTraits(m_format).isMovFamily)
        return fmt::format("{} cannot hold the orientation tag", m_container.name);
    if (!m_input.cutObstacle.empty())
        return m_input.cutObstacle;
    bool const needsTimes = KeepsTimes(m_format) && m_streams.container != m_format.name && !input.IsStill();
    return needsTimes && m_input.source != nullptr && !m_input.source->HasPacketTimes()
               ? "the input states no frame times"
               : std::string();
}

void Planner::PlanVideo() {
    if (m_streams.video < 0)
        return;
    if (m_input.parts != nullptr) {
        m_hasEffects = true;
        GetVideoPlan().reason = "it was encoded in parts";
        GetVideoPlan().encoder = m_input.parts->GetFacts().encoder;
        return;
    }
    if (m_input.source != nullptr) {
        PlanEncoders();
        if (Chain chain = MakeChain())
            Encode(std::move(chain));
        else if (m_options.part)
            Core::Throw<OptionsException>("The video is copied as it is", TagSurplusOption("part"));
        return;
    }
    if (m_checked.NeedsVideo() || m_options.part || m_container.isStill || !DescribeCopyObstacle().empty())
        std::rethrow_exception(m_input.failure);
}

/// Pictures stay in their codec where they can: a film's, and a cover, whatever films in the container are
/// encoded with.
void Planner::PlanEncoders() {
    m_encoder = m_checked.videoEncoder;
    Demuxer const& input = m_input.GetDemuxer();
    AVCodecID const codec = input.GetVideo().codecpar->codec_id;
    if (input.IsCover() && !m_container.isStill && m_options.videoEncoder.empty()) {
        AVCodec const* const same = avcodec_find_encoder(codec);
        m_encoder = same != nullptr ? same : m_encoder;
    } else if (m_checked.MayKeepCodec() && !input.IsStill() && !input.IsSequence() &&
               TakesAlone(m_format, input.GetVideo())) {
        PreferEncoders(FindSameEncoders(m_container, codec, m_input.video.format, m_options.quality));
    }
    if (m_encoder != nullptr && input.IsCover())
        CheckEncoderOptions(*m_encoder, m_options.videoEncoderOptions, m_checked.GetQuality());
    if (m_encoder != nullptr && AsksQuality())
        CheckQuality(*m_encoder, *m_options.quality);
}

/// The first is for the pictures, the others stand by.
void Planner::PreferEncoders(std::vector<AVCodec const*> encoders) {
    if (encoders.empty())
        return;
    m_usualEncoder = m_encoder;
    if (m_usualEncoder != nullptr && std::ranges::find(encoders, m_usualEncoder) == encoders.end())
        encoders.push_back(m_usualEncoder);
    m_encoder = encoders.front();
    m_otherEncoders.assign(encoders.begin() + 1, encoders.end());
}

/// Whether the quality is that of the video; covers keep theirs.
bool Planner::AsksQuality() const {
    return m_options.quality && (m_container.isStill || !m_input.GetDemuxer().IsCover());
}

/// A still picture that was without loss stays so.
Quality Planner::ChooseQuality() const {
    if (AsksQuality())
        return m_checked.GetQuality();
    bool const staysLossless = m_container.isStill && m_options.videoEncoderOptions.empty() &&
                               CodecLosesNothing(m_input.GetDemuxer().GetVideo().codecpar->codec_id) &&
                               HasQuality(*m_encoder, Quality::Lossless);
    return staysLossless ? Quality::Lossless : s_usualQuality;
}

/// Null: the video is copied, or left out.
Planner::Chain Planner::MakeChain() {
    bool const wantsEncoder = m_checked.WantsVideoEncoder() || AsksQuality();
    VideoStreamInfo& info = m_input.video;
    info.copyObstacle = wantsEncoder ? "the options ask for an encoder" : DescribeCopyObstacle();
    Chain chain = m_options.makeVideoEffects ? m_options.makeVideoEffects(info) : nullptr;
    if (chain == nullptr && info.copyObstacle.empty()) {
        AVStream const& video = m_input.GetDemuxer().GetVideo();
        if (HasSideAlpha(video) && !HoldsSideAlpha(m_format, video.codecpar->codec_id))
            NoteVideo(fmt::format("Copied the video without its alpha: {} cannot hold alpha beside {}.",
                                  m_container.name, avcodec_get_name(video.codecpar->codec_id)));
        return chain;
    }
    if (chain == nullptr && !wantsEncoder && m_input.GetDemuxer().IsCover() && m_streams.audio >= 0 &&
        !m_container.isStill) {
        GetVideoPlan().reason = info.copyObstacle;
        m_streams.video = -1; // the audio goes without its cover
        return chain;
    }
    if (m_encoder == nullptr)
        ThrowHoldsNoVideo(m_checked);
    m_hasEffects = chain != nullptr;
    if (m_hasEffects)
        return chain;
    if (info.orientation != Conf::DisplayMatrix::s_default)
        NoteVideo("Dropped the orientation tag: the video was re-encoded.");
    return std::make_unique<Host::VideoChain>(); // without steps: frames as they are
}

void Planner::Encode(Chain chain) {
    VideoStreamInfo const& info = m_input.video;
    std::int64_t const firstDuration = m_input.source->GetFirstDuration();
    m_run.video = std::make_unique<VideoWork>(std::move(chain), info.timeBase);
    WorkedFrame const* const first = m_run.video->Prime(*m_input.source, m_onWait);
    if (first == nullptr)
        Core::Throw<OutputException>("Cannot write " + Quote(m_options.output) +
                                     ": the effects returned no frames");
    bool const countsFrames = GetTraits(m_format).countsFrames && KeepsTimes(m_format);
    Ratio const frameRate = countsFrames ? m_input.GetDemuxer().GetFinestRate() : info.frameRate;
    OpenEncoder(
        {m_encoder, m_options.videoEncoderOptions, ChooseQuality(), &m_format, m_run.video->GetTimeBase(),
         frameRate, firstDuration, m_checked.IsOneImage(),
         m_options.keepsEffectFormat ? Conf::Color::Form() : Conf::Color::Form{info.format, info.space}},
        *first);
    AVCodecContext const& context = m_run.videoEncoder->GetContext();
    GetVideoPlan().reason = m_hasEffects ? s_worked : info.copyObstacle;
    GetVideoPlan().encoder = context.codec->name;
    GetVideoPlan().encoderOptions = m_run.videoEncoder->GetOptions();
    GetVideoPlan().format = Proc::PixelFormatText(context.pix_fmt);
    NoteEncoding(*context.codec);
    for (std::string& note : m_run.videoEncoder->DescribeLosses())
        NoteVideo(std::move(note));
}

void Planner::OpenEncoder(EncoderRequest request, WorkedFrame const& first) {
    std::string refusal;
    for (std::size_t i = 0; m_run.videoEncoder == nullptr; ++i) {
        try {
            m_run.videoEncoder = std::make_unique<VideoEncoder>(request, first);
        } catch (OutputException const& exception) {
            if (i == m_otherEncoders.size())
                throw;
            if (refusal.empty())
                refusal = exception.what();
            request.encoder = m_otherEncoders[i];
        }
    }
    if (!refusal.empty())
        NoteVideo(fmt::format("{}: used {} instead.", refusal, request.encoder->name));
}

/// What nobody asked for by name: encoding at all, another codec, and loss where there was none. And a
/// quality that says nothing.
void Planner::NoteEncoding(AVCodec const& encoder) {
    if (AsksQuality() && LosesNothing(encoder) && m_options.quality != Quality::Lossless)
        NoteVideo(fmt::format("Ignored the quality: {} is lossless.", encoder.name));
    Demuxer const& demuxer = m_input.GetDemuxer();
    AVCodecDescriptor const* const input = avcodec_descriptor_get(demuxer.GetVideo().codecpar->codec_id);
    // Who names the bare stream of one codec names the codec.
    bool const isBare = !KeepsTimes(m_format) && m_format.audio_codec == AV_CODEC_ID_NONE;
    if (input == nullptr || !m_checked.MayKeepCodec() || demuxer.IsStill() || demuxer.IsSequence() || isBare)
        return;
    // Of the usual encoder in place of the codec's own a note tells already.
    bool const isOther = input->id != encoder.id && &encoder != m_usualEncoder;
    bool const loses =
        (input->props & AV_CODEC_PROP_LOSSY) == 0 && !LosesNothing(encoder) && !m_options.quality;
    std::string note = "Re-encoded the video";
    if (isOther)
        note += fmt::format(" from {} to {}", input->name, avcodec_get_name(encoder.id));
    if (loses)
        note += ", which loses some quality";
    if (std::string const& obstacle = m_input.video.copyObstacle; !obstacle.empty() && !AsksQuality())
        note += ": " + obstacle;
    if (isOther || loses || !m_hasEffects)
        NoteVideo(note + ".");
}

void Planner::PlanText() {
    for (std::size_t i = 0; i < m_run.streams.size(); ++i) {
        AVStream& source = *m_streams.context->streams[i];
        if (source.discard == AVDISCARD_ALL || !TextTrack::IsNeeded(source, m_format))
            continue;
        auto& text = m_run.streams[i].text;
        try {
            text = std::make_unique<TextTrack>(source, m_format);
        } catch (OutputException const& exception) { // the run is not about them
            m_run.plan.streams[i].reason = exception.what();
            m_run.plan.streams[i].notes.push_back(fmt::format("{}; left them out.", exception.what()));
            source.discard = AVDISCARD_ALL;
            continue;
        }
        m_run.plan.streams[i].reason =
            fmt::format("{} cannot hold {}", m_container.name, m_run.plan.streams[i].codec);
        m_run.plan.streams[i].encoder = text->GetContext().codec->name;
        m_run.plan.streams[i].notes.push_back(text->Describe());
    }
}

/// What the container takes of them together.
void Planner::PlanOutput() {
    StreamEncoders encoders(m_run.streams.size());
    for (std::size_t i = 0; i < encoders.size(); ++i) {
        StreamWork const& work = m_run.streams[i];
        if (m_run.videoEncoder != nullptr && static_cast<int>(i) == m_streams.video)
            encoders[i] = {&m_run.videoEncoder->GetContext(), m_run.videoEncoder->GetTimeBase(),
                           &m_run.videoEncoder->GetFirstFrame()};
        else if (m_input.parts != nullptr && static_cast<int>(i) == m_streams.video)
            encoders[i] = {
                nullptr, {}, nullptr, &m_input.parts->GetStream(), m_input.parts->GetFacts().frameRate};
        else if (work.audio != nullptr)
            encoders[i] = {&work.audio->GetEncoder().GetContext(), work.audio->GetEncoder().GetTimeBase()};
        else if (work.text != nullptr)
            encoders[i] = {&work.text->GetContext(), FromAV(m_streams.context->streams[i]->time_base)};
    }
    m_run.output = MakeOutputStreams(m_container, m_streams, encoders);
    for (std::size_t i = 0; i < encoders.size(); ++i) {
        StreamPlan& plan = m_run.plan.streams[i];
        bool const isTaken = m_run.output.indexes[i] >= 0;
        plan.fate = !isTaken                           ? Fate::Drop
                    : !encoders[i].IsEncoded()         ? Fate::Copy
                    : m_run.streams[i].text != nullptr ? Fate::Convert
                                                       : Fate::Encode;
        if (!isTaken) {
            if (encoders[i].IsEncoded())
                plan.notes.clear(); // of an encoder that does nothing
            m_run.streams[i] = {};
            plan.encoder.clear();
            plan.encoderOptions.clear();
            plan.format.clear();
            if (plan.reason.empty() || encoders[i].IsEncoded())
                plan.reason = fmt::format("{} cannot hold it", m_container.name);
        } else {
            plan.output = m_run.output.indexes[i];
            plan.outputCodec =
                avcodec_get_name(m_run.output.context->streams[plan.output]->codecpar->codec_id);
        }
        if (m_hasEffects && plan.fate == Fate::Copy && IsVideo(*m_streams.context->streams[i]))
            plan.notes.push_back(
                fmt::format("Copied stream {} (video) as it is: video effects apply to stream {} alone.", i,
                            m_streams.video));
        if (std::string& note = m_run.output.streamNotes[i]; !note.empty())
            plan.notes.push_back(std::move(note));
    }
    m_run.plan.notes = m_run.output.notes;
    if (m_input.GetDemuxer().IsSequence() && !m_checked.sequence && m_options.imageRate.numerator == 0)
        m_run.plan.notes.push_back(
            fmt::format("Took {} images a second; --rate sets another rate.", s_usualImageRate.numerator));
    if (!m_container.isPiped)
        return;
    m_run.plan.writerOptions = ListPipeOptions(m_format);
    if (char const* const loss = GetTraits(m_format).pipeLoss; loss != nullptr)
        m_run.plan.notes.push_back(
            fmt::format("Write a file to keep every sample: in a pipe {} does not say {}.",
                        m_container.file.extension().string(), loss));
}

} // namespace

PlannedRun PlanRun(CheckedOptions const& checked, OpenedInput& input, std::function<void()> const& onWait) {
    return Planner(checked, input, onWait).Make();
}

} // namespace Tarsel::Media
