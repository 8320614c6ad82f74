// What containers hold, and what becomes of streams that they do not.

#include "Media/Containers.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Test {
namespace {

/// A file name for each container of the table that files are written by; "" where there is none.
std::string NameFor(Media::ContainerTraits const& traits) {
    AVOutputFormat const* const format = av_guess_format(std::string(traits.name).c_str(), nullptr, nullptr);
    if (format == nullptr || format->extensions == nullptr)
        return {};
    std::string const extensions = format->extensions;
    std::string const name = "out." + extensions.substr(0, extensions.find(','));
    AVOutputFormat const* const guessed = av_guess_format(nullptr, name.c_str(), nullptr);
    return guessed != nullptr && traits.name == guessed->name ? name : std::string();
}

using Containers = RunFixture;

TEST_F(Containers, RowsFitFFmpeg) {
    for (Media::ContainerTraits const& traits : Media::ListTraits()) {
        SCOPED_TRACE(traits.name);
        AVOutputFormat const* const format =
            av_guess_format(std::string(traits.name).c_str(), nullptr, nullptr);
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(&Media::GetTraits(*format), &traits);
        for (auto const& list : {traits.pictureEncoders, traits.audioEncoders, {traits.textEncoder, nullptr}})
            for (char const* name : list)
                if (AVCodec const* const encoder =
                        name != nullptr ? avcodec_find_encoder_by_name(name) : nullptr) {
                    EXPECT_NE(avformat_query_codec(format, encoder->id, FF_COMPLIANCE_NORMAL), 0) << name;
                    EXPECT_TRUE(Media::IsKnownIn(*format, encoder->id)) << name;
                }
    }
}

// As a copy, or encoded anew where the container does not take it, whatever FFmpeg says.
TEST_F(Containers, AudioOfAnyCodecGetsThere) {
    for (char const* codec : {"pcm_s16le wav", "pcm_s24be aiff", "flac flac", "libopus opus", "libvorbis ogg",
                              "libmp3lame mp3", "ac3 mka"}) {
        std::string const encoder(codec, std::strcspn(codec, " "));
        std::string const input = "in." + std::string(codec).substr(encoder.size() + 1);
        Make(File(input), "-f lavfi -i aevalsrc=sin(2000*t)|sin(3000*t):s=48000:d=0.5 -c:a " + encoder);
        for (Media::ContainerTraits const& traits : Media::ListTraits()) {
            std::string const output = NameFor(traits);
            bool const isForFilms = traits.startsAudioAtZero && traits.name != "avi";
            if (output.empty() || output == input || isForFilms || traits.isManyFiles || traits.isStill ||
                av_guess_format(nullptr, output.c_str(), nullptr)->audio_codec == AV_CODEC_ID_NONE)
                continue;
            SCOPED_TRACE(codec + (" into " + output));
            try {
                Media::RunOptions options = SoundOptions(input, output, {});
                options.overwrite = true;
                Media::Run(options);
                auto const audio = ReadMedia(File(output)).Of("audio");
                ASSERT_EQ(audio.size(), 1U);
                EXPECT_NE(audio[0].codec, "none");
                EXPECT_GT(std::ranges::max(audio[0].packets, {}, &PacketRecord::pts).pts, 300'000'000);
            } catch (std::exception const& e) {
                ADD_FAILURE() << e.what();
            }
        }
    }
}

} // namespace
} // namespace Tarsel::Test
