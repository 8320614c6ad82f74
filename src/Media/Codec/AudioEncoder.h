#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Ratio.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Codec/AudioAligner.h"
#include "Media/Codec/Encoders.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct AVOutputFormat;

namespace Tarsel::Proc {
class IDataAudio;
}

namespace Tarsel::Media {

/// Takes an encoded packet; it is the giver's again afterwards.
using TakePacket = std::function<void(AVPacket&)>;

/// How to encode audio.
struct AudioRequest {
    AVCodec const* encoder = nullptr;
    EncoderOptions options;
    Quality quality = s_usualQuality;
    AVOutputFormat const* container = nullptr;
    /// Of the blocks.
    Conf::SampleInfo format;
    /// Bits of a sample that carry audio.
    int depth = 0;
};

/// Encodes blocks of audio, on one thread, at the times they state (see AudioAligner). What the encoder needs
/// before the first sample (its priming) comes before the first block's time. One thread at a time.
class AudioEncoder {
public:
    /// OptionsException; OutputException when the encoder takes no such audio.
    explicit AudioEncoder(AudioRequest const& request);
    ~AudioEncoder();

    AVCodecContext const& GetContext() const noexcept { return *m_context; }
    /// What it was told.
    EncoderOptions const& GetOptions() const noexcept { return m_options; }
    /// Of the blocks that are encoded.
    Conf::SampleInfo const& GetFormat() const noexcept { return m_aligner->GetFormat(); }
    /// Of the packets.
    Ratio GetTimeBase() const noexcept;
    /// As AudioAligner::StartAt.
    void StartAt(std::int64_t microseconds) { m_aligner->StartAt(microseconds); }

    /// `tell` gets every block as the encoder does, with its time in GetTimeBase(). Before the first.
    void Watch(std::function<void(AVFrame const&)> tell) { m_tell = std::move(tell); }

    /// Encodes a block, its time in microseconds. OutputException, EffectException, and what `give` throws.
    void Encode(Proc::IDataAudio const& block, TakePacket const& give);
    /// No more blocks: the rest.
    void End(TakePacket const& give);

    /// What the user should know, one sentence each: what the encoder's choice costs, known from the start;
    /// and what came up.
    std::vector<std::string> DescribeLosses() const;
    std::vector<std::string> GetNotes() const { return m_aligner->GetNotes(); }

private:
    int TryOpen(AudioRequest const& request, Conf::SampleInfo const& format, EncoderOptions const& defaults);
    void Open(AudioRequest const& request);
    void EncodeAligned(TakePacket const& give);
    void Queue(AVFrame const& block, TakePacket const& give);
    void EncodeQueued(int count, TakePacket const& give);
    void Send(AVFrame const* frame, TakePacket const& give);
    void Check(int error, Core::Site const& site = Core::Site::Here()) const;

    std::function<void(AVFrame const&)> m_tell;
    Conf::SampleInfo m_input;
    int m_depth;
    UniqueCodecContext m_context;
    EncoderOptions m_options;
    UniquePacket m_packet;
    std::optional<AudioAligner> m_aligner;
    UniqueAudioFifo m_queue;
    /// Samples of a packet.
    int m_frameSize = 0;
    /// Of the next sample to encode.
    std::int64_t m_time = 0;
};

} // namespace Tarsel::Media
