#include "Media/Run/NonVideoStreams.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Stopped.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

NonVideoStreams::NonVideoStreams(RunPlan const& plan, InputStreams const& input, ProgressMeter& progress,
                                 std::stop_token stop)
    : m_plan(plan), m_input(input), m_progress(progress), m_stop(std::move(stop)),
      m_streams(input.context->nb_streams) {
    int number = 0;
    for (std::size_t i = 0; i < m_streams.size(); ++i) {
        AVStream const& source = *input.context->streams[i];
        if (source.discard != AVDISCARD_ALL && TextTrack::IsNeeded(source, *plan.container.format))
            m_streams[i].text = std::make_unique<TextTrack>(source, *plan.container.format);
        if (source.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || source.discard == AVDISCARD_ALL)
            continue;
        m_streams[i].isAudio = true;
        Add(m_streams[i], source, number++);
    }
    // Copies alone would pass for the work that was asked for.
    auto const isOpen = [](Stream const& stream) { return stream.isAudio && !stream.failure; };
    auto const failed = std::ranges::find_if(m_streams, [](auto const& stream) { return !!stream.failure; });
    if (plan.NeedsAudio() && failed != m_streams.end() && std::ranges::none_of(m_streams, isOpen))
        std::rethrow_exception(failed->failure);
}

/// Decides what becomes of a sound stream.
void NonVideoStreams::Add(Stream& stream, AVStream const& source, int number) {
    RunOptions const& options = m_plan.options;
    std::string const obstacle = DescribeCopyObstacle(source);
    if (!options.makeAudioEffects && obstacle.empty())
        return;
    std::unique_ptr<AudioDecoder> decoder;
    try {
        decoder = std::make_unique<AudioDecoder>(source, m_input.hasTimes);
    } catch (InputException const& exception) {
        stream.failure = std::current_exception();
        stream.notes.push_back(std::string(exception.what()) + ".");
        return;
    }
    AudioEffects chain;
    if (options.makeAudioEffects)
        chain = options.makeAudioEffects(DescribeAudio(source, number, decoder->GetFormat(), obstacle));
    if (chain.chain == nullptr && obstacle.empty())
        return;
    if (chain.chain != nullptr && !Conf::IsKnown(chain.output))
        Core::Throw<OptionsException>(
            {"Media/Run/NonVideoStreams",
             "void Tarsel::Media::NonVideoStreams::Add(Stream &, const AVStream &, int)"},
            fmt::format("The chain for sound stream {} does not say what comes out of it", number));

    bool const isWanted = chain.chain != nullptr || m_plan.WantsAudioEncoder();
    std::unique_ptr<AudioEncoder> encoder;
    try {
        encoder =
            MakeEncoder(source, chain.chain != nullptr ? chain.output : decoder->GetFormat(), chain.depth);
    } catch (OptionsException const&) {
        if (isWanted)
            throw;
    } catch (OutputException const&) {
        if (isWanted)
            throw;
    }
    if (encoder == nullptr)
        return; // it is left out, and told so
    if (!isWanted)
        stream.notes.push_back(fmt::format("The sound was encoded anew: {}.", obstacle));
    if (m_input.picture >= 0 && GetTraits(*m_plan.container.format).startsAudioAtZero)
        encoder->StartAt(0);
    stream.track =
        std::make_unique<AudioReEncode>(std::move(decoder), std::move(chain.chain), std::move(encoder));
}

/// Why a copy will not do; "" when it will.
std::string NonVideoStreams::DescribeCopyObstacle(AVStream const& source) const {
    if (m_plan.WantsAudioEncoder())
        return "the options ask for an encoder";
    return CanHoldAudio(m_plan.container, *source.codecpar)
               ? std::string()
               : fmt::format("{} cannot hold {}", Quote(m_plan.options.output.filename()),
                             avcodec_get_name(source.codecpar->codec_id));
}

/// Null where the container holds no sound.
std::unique_ptr<AudioEncoder>
NonVideoStreams::MakeEncoder(AVStream const& source, Conf::SampleInfo const& format, int wantedDepth) const {
    int const depth = wantedDepth > 0 ? wantedDepth : GetDepth(*source.codecpar);
    AVCodec const* encoder = m_plan.soundEncoder;
    if (encoder == nullptr && !m_plan.WantsAudioEncoder())
        encoder = FindSameAudioEncoder(m_plan.container, *source.codecpar, format.format, wantedDepth);
    if (encoder == nullptr)
        encoder = FindUsualAudioEncoder(m_plan.container, m_plan.options.output, format.format, depth);
    if (encoder == nullptr)
        return nullptr;
    return std::make_unique<AudioEncoder>(AudioRequest{encoder, m_plan.options.audioEncoderOptions,
                                                       m_plan.GetQuality(), m_plan.container.format, format,
                                                       depth});
}

StreamEncoders NonVideoStreams::GetEncoders(VideoEncoder const* picture) const {
    StreamEncoders encoders{picture};
    for (Stream const& stream : m_streams) {
        encoders.sound.push_back(stream.track != nullptr ? &stream.track->GetEncoder() : nullptr);
        encoders.texts.push_back(stream.text.get());
    }
    return encoders;
}

std::vector<std::string> NonVideoStreams::GetEncoderNames() const {
    std::vector<std::string> names;
    for (Stream const& stream : m_streams)
        if (stream.isAudio)
            names.emplace_back(stream.track != nullptr ? stream.track->GetEncoder().GetContext().codec->name
                                                       : "");
    return names;
}

TakePacket NonVideoStreams::MakeTaker(std::size_t index, Muxer& muxer) const {
    return [this, index, &muxer](AVPacket& packet) {
        if (m_stop.stop_requested())
            throw Stopped();
        packet.stream_index = static_cast<int>(index);
        muxer.Write(packet, m_streams[index].track->GetEncoder().GetTimeBase());
    };
}

/// What comes before time 0 is the codec's.
void NonVideoStreams::Count(AVPacket const& packet, AVStream const& source) {
    if (packet.pts == AV_NOPTS_VALUE)
        return;
    Ratio const timeBase = FromAV(source.time_base);
    m_progress.AddAudio(std::max<std::int64_t>(ToMicroseconds(packet.pts, timeBase), 0),
                        ToMicroseconds(av_sat_add64(packet.pts, packet.duration), timeBase));
}

void NonVideoStreams::Write(AVPacket& packet, Muxer& muxer) {
    auto const index = static_cast<std::size_t>(packet.stream_index);
    if (index < m_streams.size() && m_streams[index].isAudio && muxer.Takes(packet.stream_index))
        Count(packet, *m_input.context->streams[index]);
    if (index < m_streams.size() && m_streams[index].text != nullptr) {
        if (muxer.Takes(packet.stream_index) && m_streams[index].text->Convert(packet))
            muxer.WriteCopied(packet);
    } else if (index >= m_streams.size() || m_streams[index].track == nullptr)
        muxer.WriteCopied(packet);
    else if (muxer.Takes(packet.stream_index))
        m_streams[index].track->Feed(packet, MakeTaker(index, muxer));
}

void NonVideoStreams::End(Muxer& muxer) {
    for (std::size_t i = 0; i < m_streams.size(); ++i)
        if (m_streams[i].track != nullptr && muxer.Takes(static_cast<int>(i)))
            m_streams[i].track->End(MakeTaker(i, muxer));
}

std::vector<std::string> NonVideoStreams::GetNotes() const {
    auto const sounds = std::ranges::count(m_streams, true, &Stream::isAudio);
    std::vector<std::string> notes;
    int number = 0;
    for (Stream const& stream : m_streams) {
        if (stream.text != nullptr)
            for (std::string& note : stream.text->GetNotes())
                notes.push_back(std::move(note));
        if (!stream.isAudio)
            continue;
        // With several of them a note says which.
        std::string const prefix = sounds > 1 ? fmt::format("Sound stream {}: ", number) : std::string();
        ++number;
        for (std::string const& note : stream.notes)
            notes.push_back(prefix + note);
        if (stream.track != nullptr)
            for (std::string const& note : stream.track->GetNotes())
                notes.push_back(prefix + note);
    }
    return notes;
}

} // namespace Tarsel::Media
