#include "Media/Run/FrameWatch.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/Times.h"
#include "Media/Container/InputStreams.h"
#include "Media/Run/Planner.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/hash.h>
#include <libavutil/imgutils.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Media {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct HashDeleter {
    void operator()(AVHashContext* hash) const noexcept { av_hash_freep(&hash); }
};

/// Of one stream; one thread at a time.
class Hash {
public:
    Hash() {
        AVHashContext* hash = nullptr;
        if (av_hash_alloc(&hash, "murmur3") < 0)
            ThrowNoMemory("a hash");
        m_hash.reset(hash);
    }

    std::string Of(Bytes const& bytes) {
        std::vector<std::uint8_t> text(2 * AV_HASH_MAX_SIZE + 1);
        av_hash_init(m_hash.get());
        av_hash_update(m_hash.get(), bytes.data(), bytes.size());
        av_hash_final_hex(m_hash.get(), text.data(), static_cast<int>(text.size()));
        return reinterpret_cast<char const*>(text.data());
    }

private:
    std::unique_ptr<AVHashContext, HashDeleter> m_hash;
};

/// What watches one stream.
struct Watcher {
    FrameFacts facts;
    Hash hash;
    Bytes bytes;
};

/// Rows without padding, plane by plane.
void CopyPixels(AVFrame const& frame, Bytes& bytes) {
    auto const format = Conf::ToAVPixelFormat(frame.format);
    int const size = av_image_get_buffer_size(format, frame.width, frame.height, 1);
    bytes.resize(static_cast<std::size_t>(std::max(size, 0)));
    if (size < 0 || av_image_copy_to_buffer(bytes.data(), size, frame.data, frame.linesize, format,
                                            frame.width, frame.height, 1) < 0)
        Core::Throw<Proc::EffectException>("Cannot copy the pixels of a frame of " +
                                           Proc::PixelFormatText(frame.format));
}

/// Channel by channel for each sample.
void CopySamples(AVFrame const& block, Bytes& bytes) {
    auto const format = Conf::ToAVSampleFormat(block.format);
    auto const channels = static_cast<std::size_t>(block.ch_layout.nb_channels);
    auto const count = static_cast<std::size_t>(block.nb_samples);
    auto const size = static_cast<std::size_t>(av_get_bytes_per_sample(format));
    bytes.resize(channels * count * size);
    if (av_sample_fmt_is_planar(format) == 0) {
        std::memcpy(bytes.data(), block.extended_data[0], bytes.size());
        return;
    }
    std::uint8_t* to = bytes.data();
    for (std::size_t sample = 0; sample < count; ++sample)
        for (std::size_t channel = 0; channel < channels; ++channel, to += size)
            std::memcpy(to, block.extended_data[channel] + sample * size, size);
}

/// What all of a run's watchers share.
class FrameWatch {
public:
    explicit FrameWatch(TellFrameFacts const& tell) : m_tell(tell) {}

    void Tell(FrameFacts const& facts) {
        std::lock_guard const lock(m_mutex);
        m_tell(facts);
    }

private:
    std::mutex m_mutex;
    TellFrameFacts const& m_tell;
};

void WatchVideo(std::shared_ptr<FrameWatch> const& watch, int stream, VideoEncoder& encoder) {
    auto const watcher = std::make_shared<Watcher>();
    watcher->facts.kind = FrameFacts::Kind::Video;
    watcher->facts.stream = stream;
    watcher->facts.timeBase = encoder.GetTimeBase();
    encoder.Watch([watch, watcher](AVFrame const& frame, FrameTime const& time) {
        FrameFacts& facts = watcher->facts;
        facts.format = Proc::PixelFormatText(frame.format);
        facts.time = time.start;
        facts.duration = time.duration;
        facts.width = frame.width;
        facts.height = frame.height;
        CopyPixels(frame, watcher->bytes);
        facts.hash = watcher->hash.Of(watcher->bytes);
        watch->Tell(facts);
    });
}

void WatchAudio(std::shared_ptr<FrameWatch> const& watch, int stream, AudioEncoder& encoder) {
    auto const watcher = std::make_shared<Watcher>();
    watcher->facts.kind = FrameFacts::Kind::Audio;
    watcher->facts.stream = stream;
    watcher->facts.timeBase = encoder.GetTimeBase();
    encoder.Watch([watch, watcher](AVFrame const& block) {
        FrameFacts& facts = watcher->facts;
        facts.format = av_get_sample_fmt_name(Conf::ToAVSampleFormat(block.format));
        facts.time = block.pts;
        facts.duration = block.nb_samples;
        facts.rate = block.sample_rate;
        facts.channels = block.ch_layout.nb_channels;
        facts.samples = block.nb_samples;
        CopySamples(block, watcher->bytes);
        facts.hash = watcher->hash.Of(watcher->bytes);
        watch->Tell(facts);
    });
}

} // namespace

void WatchFrames(TellFrameFacts const& tell, InputStreams const& input, PlannedRun& run) {
    auto const watch = std::make_shared<FrameWatch>(tell);
    for (std::size_t i = 0; i < run.plan.streams.size(); ++i) {
        int const stream = run.output.indexes[i];
        if (stream < 0)
            continue;
        if (run.videoEncoder != nullptr && static_cast<int>(i) == input.video)
            WatchVideo(watch, stream, *run.videoEncoder);
        else if (run.streams[i].audio != nullptr)
            WatchAudio(watch, stream, run.streams[i].audio->GetEncoder());
        else if (run.plan.streams[i].fate == Fate::Copy) {
            FrameFacts facts;
            facts.stream = stream;
            facts.format = avcodec_get_name(input.context->streams[i]->codecpar->codec_id);
            watch->Tell(facts);
        }
    }
}

} // namespace Tarsel::Media
