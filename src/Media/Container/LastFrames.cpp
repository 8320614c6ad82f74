#include "Media/Container/LastFrames.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

struct CloseParser {
    void operator()(AVCodecParserContext* parser) const noexcept { av_parser_close(parser); }
};

/// How long FFmpeg finds the first frame to be, of those of two packets; 0: it finds none.
int MeasureFirst(int codec, AVPacket const& first, AVPacket const& second) {
    std::unique_ptr<AVCodecParserContext, CloseParser> const parser(av_parser_init(codec));
    UniqueCodecContext const context(CheckAllocated(avcodec_alloc_context3(nullptr), "AVCodecContext"));
    std::vector<std::uint8_t> bytes(first.data, first.data + first.size);
    bytes.insert(bytes.end(), second.data, second.data + second.size);
    auto rest = static_cast<int>(bytes.size());
    bytes.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    std::uint8_t const* at = bytes.data();
    std::uint8_t* frame = nullptr;
    int length = 0;
    while (parser != nullptr && rest > 0 && length == 0) {
        int const used = av_parser_parse2(parser.get(), context.get(), &frame, &length, at, rest,
                                          AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        if (used <= 0 && length == 0)
            break;
        at += used;
        rest -= used;
    }
    return length;
}

/// Tags may follow the audio.
bool StartAlike(AVPacket const& a, AVPacket const& b) {
    constexpr int syncWord = 2;
    return a.size > syncWord && b.size > syncWord && std::equal(a.data, a.data + syncWord, b.data);
}

} // namespace

LastFrames::LastFrames(AVFormatContext const& input) : m_streams(input.nb_streams) {
    for (unsigned i = 0; i < input.nb_streams; ++i)
        if (AVCodecParameters const& parameters = *input.streams[i]->codecpar;
            parameters.codec_type == AVMEDIA_TYPE_AUDIO)
            m_streams[i] = {parameters.codec_id, MakePacket(), MakePacket()};
}

void LastFrames::Add(AVPacket const& packet) {
    auto const index = static_cast<std::size_t>(packet.stream_index);
    if (index >= m_streams.size() || m_streams[index].codec == 0)
        return;
    Stream& stream = m_streams[index];
    std::swap(stream.before, stream.last);
    av_packet_unref(stream.last.get());
    if (av_packet_ref(stream.last.get(), &packet) < 0)
        ThrowNoMemory("a packet");
}

/// The frame before shows whether lengths can be found at all, and is what would follow.
bool LastFrames::IsAnyCut() const {
    return std::ranges::any_of(m_streams, [](Stream const& stream) {
        if (stream.codec == 0 || !StartAlike(*stream.before, *stream.last))
            return false;
        AVPacket const& before = *stream.before;
        return MeasureFirst(stream.codec, before, before) == before.size &&
               MeasureFirst(stream.codec, *stream.last, before) != stream.last->size;
    });
}

} // namespace Tarsel::Media
