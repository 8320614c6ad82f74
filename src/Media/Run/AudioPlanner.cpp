#include "Media/Run/AudioPlanner.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/MediaExceptions.h"
#include "Media/Range/PacketCutter.h"
#include "Media/Run/Planner.h"
#include "Media/Run/StreamFacts.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

bool IsAudio(AVStream const& stream) noexcept {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && stream.discard != AVDISCARD_ALL;
}

class AudioPlanner {
public:
    AudioPlanner(CheckedOptions const& checked, InputStreams const& input, AVStream const& source, int number)
        : m_checked(checked), m_options(checked.options), m_input(input), m_source(source), m_number(number) {
    }

    /// Null: the stream is copied, or cannot be.
    std::unique_ptr<AudioReEncode> Make(StreamPlan& plan);
    /// Why it cannot be decoded.
    std::exception_ptr GetFailure() const noexcept { return m_failure; }

private:
    std::string DescribeCopyObstacle() const;
    void NoteLossless(AVCodecID codec, StreamPlan& plan) const;
    void NoteEncoding(AVCodecID codec, bool isWanted, std::string const& obstacle, StreamPlan& plan) const;
    AudioEffects MakeEffects(Conf::SampleInfo const& format, std::string const& obstacle) const;
    AVCodec const* ChooseEncoder(Conf::SampleInfo const& format, int wantedDepth, int depth) const;
    std::unique_ptr<AudioEncoder> MakeEncoder(Conf::SampleInfo const& format, int wantedDepth) const;

    CheckedOptions const& m_checked;
    RunOptions const& m_options;
    InputStreams const& m_input;
    AVStream const& m_source;
    /// Among those of audio.
    int m_number;
    std::exception_ptr m_failure;
};

std::unique_ptr<AudioReEncode> AudioPlanner::Make(StreamPlan& plan) {
    std::string const obstacle = DescribeCopyObstacle();
    if (!m_options.makeAudioEffects && obstacle.empty()) {
        NoteLossless(m_source.codecpar->codec_id, plan);
        return nullptr;
    }
    std::unique_ptr<AudioDecoder> decoder;
    try {
        decoder = std::make_unique<AudioDecoder>(m_source, m_input.hasTimes);
    } catch (InputException const& exception) {
        m_failure = std::current_exception();
        plan.notes.push_back(std::string(exception.what()) + ".");
        return nullptr;
    }
    decoder->CutTo(m_input.span);
    AudioEffects effects = MakeEffects(decoder->GetFormat(), obstacle);
    if (effects.chain == nullptr && obstacle.empty()) {
        NoteLossless(m_source.codecpar->codec_id, plan);
        return nullptr;
    }

    bool const isWanted =
        effects.chain != nullptr || m_checked.WantsAudioEncoder() || m_checked.AsksAudioQuality();
    std::unique_ptr<AudioEncoder> encoder;
    try {
        encoder =
            MakeEncoder(effects.chain != nullptr ? effects.output : decoder->GetFormat(), effects.depth);
    } catch (OptionsException const&) {
        if (isWanted)
            throw;
    } catch (OutputException const&) {
        if (isWanted)
            throw;
    }
    if (encoder == nullptr)
        return nullptr; // it is left out, and told so
    NoteEncoding(encoder->GetContext().codec_id, isWanted, obstacle, plan);
    if (m_input.video >= 0 && GetTraits(*m_checked.container.format).startsAudioAtZero)
        encoder->StartAt(0);
    plan.reason = effects.chain != nullptr ? s_worked : obstacle;
    plan.encoder = encoder->GetContext().codec->name;
    plan.encoderOptions = encoder->GetOptions();
    plan.format = Proc::AudioText(encoder->GetFormat());
    for (std::string& note : encoder->DescribeLosses())
        plan.notes.push_back(std::move(note));
    return std::make_unique<AudioReEncode>(std::move(decoder), std::move(effects.chain), std::move(encoder));
}

/// Why a copy will not do; "" when it will.
std::string AudioPlanner::DescribeCopyObstacle() const {
    if (m_checked.WantsAudioEncoder())
        return "the options ask for an encoder";
    AVCodecID const codec = m_source.codecpar->codec_id;
    int const rate = GetTraits(*m_checked.container.format).audioRate;
    if (rate > 0 && m_source.codecpar->sample_rate != rate)
        return fmt::format("{} holds audio of {} Hz only", m_checked.container.name, rate);
    if (!CanHoldAudio(m_checked.container, *m_source.codecpar))
        return fmt::format("{} cannot hold {}", m_checked.container.name, avcodec_get_name(codec));
    if (!m_input.span.IsWhole() && !CutsExactly(m_source))
        return fmt::format("packets of {} cannot be cut to the range", avcodec_get_name(codec));
    return m_checked.AsksAudioQuality() && !CodecLosesNothing(codec)
               ? fmt::format("the quality \"{}\" was requested", GetQualityName(m_checked.GetQuality()))
               : std::string();
}

void AudioPlanner::NoteLossless(AVCodecID codec, StreamPlan& plan) const {
    if (m_checked.AsksAudioQuality() && CodecLosesNothing(codec))
        plan.notes.push_back(fmt::format("Ignored the quality: {} is lossless.", avcodec_get_name(codec)));
}

/// What nobody asked for: encoding at all, or another codec.
void AudioPlanner::NoteEncoding(AVCodecID codec, bool isWanted, std::string const& obstacle,
                                StreamPlan& plan) const {
    NoteLossless(codec, plan);
    AVCodecID const before = m_source.codecpar->codec_id;
    bool const loses = !(CodecLosesNothing(before) && CodecLosesNothing(codec));
    // Who turns a file of audio into another means just that.
    bool const wasAskedFor =
        m_checked.container.isAudio || m_input.video < 0 || m_checked.WantsAudioEncoder();
    if (obstacle.empty() || (isWanted && (codec == before || !loses || wasAskedFor)))
        return;
    std::string const change =
        codec == before ? std::string()
                        : fmt::format(" from {} to {}", avcodec_get_name(before), avcodec_get_name(codec));
    bool const isLoss = CodecLosesNothing(before) && !CodecLosesNothing(codec);
    plan.notes.push_back(fmt::format("Re-encoded the audio{}{}: {}.", change,
                                     isLoss ? ", which loses some quality" : "", obstacle));
}

AudioEffects AudioPlanner::MakeEffects(Conf::SampleInfo const& format, std::string const& obstacle) const {
    if (!m_options.makeAudioEffects)
        return {};
    AudioEffects effects = m_options.makeAudioEffects(DescribeAudio(m_source, m_number, format, obstacle));
    if (effects.chain != nullptr && !Conf::IsKnown(effects.output))
        Core::Throw<OptionsException>(
            fmt::format("The chain for audio stream {} does not state its output format", m_number));
    return effects;
}

/// Null where the container holds no audio.
AVCodec const* AudioPlanner::ChooseEncoder(Conf::SampleInfo const& format, int wantedDepth, int depth) const {
    AVCodec const* encoder = m_checked.audioEncoder;
    if (encoder == nullptr && !m_checked.WantsAudioEncoder())
        encoder = FindSameAudioEncoder(m_checked.container, *m_source.codecpar, format.format, wantedDepth);
    return encoder != nullptr ? encoder : FindUsualAudioEncoder(m_checked.container, format.format, depth);
}

std::unique_ptr<AudioEncoder> AudioPlanner::MakeEncoder(Conf::SampleInfo const& format,
                                                        int wantedDepth) const {
    int const depth = wantedDepth > 0 ? wantedDepth : GetDepth(*m_source.codecpar);
    AVCodec const* const encoder = ChooseEncoder(format, wantedDepth, depth);
    if (encoder == nullptr)
        return nullptr;
    return std::make_unique<AudioEncoder>(AudioRequest{encoder, m_options.audioEncoderOptions,
                                                       m_checked.GetQuality(), m_checked.container.format,
                                                       format, depth});
}

} // namespace

void PlanAudio(CheckedOptions const& checked, InputStreams const& input, PlannedRun& run) {
    int number = 0;
    bool isAnyOpen = false;
    std::exception_ptr failure;
    for (std::size_t i = 0; i < run.streams.size(); ++i) {
        AVStream const& source = *input.context->streams[i];
        if (source.codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
            continue;
        AudioPlanner planner(checked, input, source, number++);
        if (!IsAudio(source))
            continue;
        StreamPlan& plan = run.plan.streams[i];
        run.streams[i].audio = planner.Make(plan);
        isAnyOpen = isAnyOpen || planner.GetFailure() == nullptr;
        failure = failure != nullptr ? failure : planner.GetFailure();
        for (std::string& note : plan.notes)
            note.insert(0, GetAudioPrefix(input, i));
    }
    // Copies alone would pass for the work that was asked for.
    if (checked.NeedsAudio() && failure != nullptr && !isAnyOpen)
        std::rethrow_exception(failure);
}

std::string GetAudioPrefix(InputStreams const& input, std::size_t stream) {
    int count = 0;
    int number = 0;
    for (std::size_t i = 0; i < input.context->nb_streams; ++i)
        if (input.context->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            number = i == stream ? count : number;
            ++count;
        }
    return count > 1 && IsAudio(*input.context->streams[stream]) ? fmt::format("Audio stream {}: ", number)
                                                                 : std::string();
}

} // namespace Tarsel::Media
