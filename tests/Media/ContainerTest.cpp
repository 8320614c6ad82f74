// What containers hold, and what becomes of streams that they do not.

#include "Media/Container/Containers.h"
#include "Media/Container/Demuxer.h"
#include "Media/Container/Languages.h"
#include "Media/MediaExceptions.h"
#include "RunFixture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

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

/// As bytes, or in the characters of ASF.
bool HasText(std::string const& file, std::string_view text) {
    std::string wide;
    for (char const letter : text)
        wide += {letter, '\0'};
    return file.find(text) != std::string::npos || file.find(wide) != std::string::npos;
}

/// A tag is in the file, or its loss is told.
void ExpectTagOrNote(std::string const& file, std::vector<std::string> const& notes, std::string const& key,
                     std::string const& value) {
    EXPECT_NE(
        HasText(file, value),
        testing::Value(notes, testing::Contains(testing::ContainsRegex("Left out the tags? [^:]*" + key))))
        << key;
}

/// Reads the file to its end, which nobody cut off.
void ExpectWhole(std::filesystem::path const& file) {
    Media::Demuxer demuxer(file, {});
    for (Media::UniquePacket const packet = Media::MakePacket(); demuxer.Read(*packet);)
        av_packet_unref(packet.get());
    EXPECT_THAT(demuxer.GetNotes(), testing::Each(testing::Not(testing::ContainsRegex("truncated"))));
}

// As a copy, or re-encoded where the container does not take it, whatever FFmpeg says.
TEST_F(Containers, AudioOfAnyCodecGetsThere) {
    for (char const* codec : {"pcm_s16le wav", "pcm_s24be aiff", "flac flac", "libopus opus", "libvorbis ogg",
                              "libmp3lame mp3", "ac3 mka"}) {
        std::string const encoder(codec, std::strcspn(codec, " "));
        std::string const input = "in." + std::string(codec).substr(encoder.size() + 1);
        Make(File(input),
             "-f lavfi -i aevalsrc=sin(2000*t)|sin(3000*t):s=48000:d=0.5 -metadata artist=Somebody "
             "-metadata mood=Fine -c:a " +
                 encoder);
        std::vector<Media::ContainerTraits> rows(Media::ListTraits().begin(), Media::ListTraits().end());
        rows.push_back({.name = "caf"}); // has no row of its own
        for (Media::ContainerTraits const& traits : rows) {
            std::string const output = NameFor(traits);
            bool const isForFilms = traits.startsAudioAtZero && traits.name != "avi";
            if (output.empty() || output == input || isForFilms || traits.isManyFiles || traits.isStill ||
                av_guess_format(nullptr, output.c_str(), nullptr)->audio_codec == AV_CODEC_ID_NONE)
                continue;
            SCOPED_TRACE(codec + (" into " + output));
            try {
                Media::RunOptions options = AudioOptions(input, output, {});
                auto const notes = Media::Run(options).notes;
                for (auto const& [key, value] : {std::pair("artist", "Somebody"), {"mood", "Fine"}})
                    if (HasText(Read(input), value))
                        ExpectTagOrNote(Read(output), notes, key, value);
                auto const audio = ReadMedia(File(output)).Of("audio");
                ASSERT_EQ(audio.size(), 1U);
                EXPECT_NE(audio[0].codec, "none");
                ExpectWhole(File(output));
                PacketRecord const last = std::ranges::max(audio[0].packets, {}, &PacketRecord::pts);
                EXPECT_GT(last.pts + last.duration, 300'000'000);
            } catch (std::exception const& e) {
                ADD_FAILURE() << e.what();
            }
        }
    }
}

// Whatever they are written in; their times stay, to the millisecond.
TEST_F(Containers, SubtitlesGetThere) {
    Write("texts.srt", "1\n00:00:00,100 --> 00:00:00,400\nHello <i>there</i>\n\n"
                       "2\n00:00:00,500 --> 00:00:00,900\nAgain\n");
    Make(File("film.mkv"), s_pictures + s_noBFrames);
    Make(File("film.webm"), s_pictures + "-c:v libvpx -deadline realtime");
    struct {
        std::string output;
        std::vector<std::string> codecs;
        char const* language = "deu";
    } const outputs[] = {{"out.mp4", {"mov_text"}},
                         {"out.mov", {"mov_text"}, "ger"}, // as QuickTime calls it
                         {"out.mkv", {"subrip", "ass", "webvtt"}},
                         {"out.webm", {"webvtt"}},
                         {"out.ts", {}}};
    for (auto const& [input, encoder] : {std::pair<std::string, std::string>("in.mp4", "mov_text"),
                                         {"srt.mkv", "subrip"},
                                         {"ass.mkv", "ass"},
                                         {"in.webm", "webvtt"}}) {
        Make(File(input), "-i " + File(input == "in.webm" ? "film.webm" : "film.mkv").string() + " -i " +
                              File("texts.srt").string() + " -map 0:v -map 1 -c:v copy -c:s " + encoder +
                              " -metadata:s:s:0 language=deu");
        for (auto const& to : outputs) {
            SCOPED_TRACE(input + " into " + to.output);
            Media::RunOptions options = Options(input, to.output);
            options.makeVideoEffects = nullptr;
            auto const notes = Media::Run(options).notes;
            auto texts = ReadMedia(File(to.output)).Of("subtitle");
            if (to.codecs.empty()) {
                EXPECT_THAT(texts, testing::IsEmpty());
                EXPECT_THAT(notes, testing::Contains(testing::HasSubstr("subtitle")));
                continue;
            }
            ASSERT_EQ(texts.size(), 1U);
            EXPECT_THAT(to.codecs, testing::Contains(texts[0].codec));
            EXPECT_EQ(texts[0].metadata["language"], to.language);
            std::vector<PacketRecord> shown;
            for (PacketRecord const& packet : texts[0].packets)
                if (packet.data.size() > 2) // MP4 fills the time between with nothing
                    shown.push_back(packet);
            ASSERT_EQ(shown.size(), 2U);
            EXPECT_NEAR(static_cast<double>(shown[0].pts), 100e6, 1e6);
            EXPECT_NEAR(static_cast<double>(shown[0].duration), 300e6, 1e6);
            EXPECT_NEAR(static_cast<double>(shown[1].pts), 500e6, 1e6);
            EXPECT_THAT(shown[0].data, testing::HasSubstr("Hello"));
            EXPECT_THAT(shown[1].data, testing::HasSubstr("Again"));
        }
    }
}

// Every picture is there, and its time; titles, chapters and what is said of streams are, or their loss is
// told.
TEST_F(Containers, FilmsGetThere) {
    Write("words.txt",
          ";FFMETADATA1\ntitle=The Film\nalbum=Works\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\n"
          "title=Two\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=1000\ntitle=Three\n");
    Make(File("in.mkv"), s_pictures + s_audio + "-i " + File("words.txt").string() +
                             " -map 0 -map 1 -map_metadata 2 -map_chapters 2 -metadata:s:a title=Comments "
                             "-metadata:s:a language=deu -disposition:a comment -vf noise=alls=40:allf=t " +
                             s_noBFrames + "-c:a pcm_s16le"); // libtheora leaves out what hardly differs
    std::vector<std::int64_t> const times = ReadMedia(File("in.mkv")).GetTimes();
    std::string encoders;
    for (Media::ContainerTraits const& traits : Media::ListTraits()) {
        std::string const output = NameFor(traits);
        if (output.empty() || traits.isStill || traits.isManyFiles || traits.name == "dv" ||
            traits.name == "gxf")
            continue;
        SCOPED_TRACE(output);
        Media::RunOptions options = Options("in.mkv", output);
        options.makeAudioEffects = AudioThrough();
        options.mayLackVideo = true;
        options.mayLackAudio = true;
        Media::RunResult result;
        try {
            result = Media::Run(options);
        } catch (Media::OutputException const&) {
            continue; // no such pictures
        }
        std::string const audio = result.audioEncoders.empty() ? "" : result.audioEncoders[0];
        encoders += fmt::format("{}:{}+{} ", traits.name, result.videoEncoder, audio);
        std::vector<std::int64_t> const made = ReadMedia(File(output)).GetTimes();
        if (!result.videoEncoder.empty()) {
            ASSERT_EQ(made.size(), times.size());
        }
        for (std::size_t i = 0; i < made.size(); ++i) // broadcast streams start somewhere, or say no time
            if (made[i] != AV_NOPTS_VALUE && traits.name != "mxf") { // read back with a late second picture
                EXPECT_EQ(made[i] - made[0], times[i]) << "picture " << i;
            }
        std::string notes;
        for (std::string const& note : result.notes)
            notes += note + "\n";
        std::string const file = Read(output);
        ExpectWhole(File(output));
        EXPECT_THAT(notes, testing::Not(testing::HasSubstr("keep every frame")));
        for (StreamRecord& stream : ReadMedia(File(output)).Of("audio")) {
            auto const isTold = [&](std::string_view what) { return notes.find(what) != std::string::npos; };
            EXPECT_NE(stream.metadata["title"] == "Comments", isTold("the title \"Comments\""));
            EXPECT_NE(Media::IsSameLanguage(stream.metadata["language"], "deu"), isTold("the language deu"));
            EXPECT_NE((stream.disposition & AV_DISPOSITION_COMMENT) != 0, isTold("the mark comment"));
        }
        bool const isOgg = traits.name == "ogg" || traits.name == "oga" || traits.name == "opus";
        if (!isOgg) // one place for this title and the stream's
            ExpectTagOrNote(file, result.notes, "title", "The Film");
        ExpectTagOrNote(file, result.notes, "album", "Works");
        EXPECT_NE(HasText(file, "Three"), notes.find("Left out the chapters") != std::string::npos);
    }
    EXPECT_EQ(encoders,
              "mp4:libx264+aac mov:libx264+pcm_s16le ipod:libx264+aac 3gp:libx264+aac "
              "3g2:libx264+aac ismv:libx264+aac f4v:libx264+aac matroska:libx264+pcm_s16le "
              "webm:libvpx-vp9+libopus avi:mpeg4+pcm_s16le flv:libx264+aac mpeg:mpeg2video+mp2 "
              "svcd:mpeg2video+mp2 dvd:mpeg2video+mp2 mpegts:libx264+aac ogg:+libvorbis oga:+flac "
              "ogv:libtheora+libvorbis asf:libx264+pcm_s16le mxf:libx264+pcm_s16le mp3:+libmp3lame "
              "flac:+flac adts:+aac aiff:+pcm_s16le wav:+pcm_s16le w64:+pcm_s16le au:+pcm_s16be gif:gif+ "
              "apng:apng+ yuv4mpegpipe:wrapped_avframe+ ivf:libvpx+ nut:libx264+pcm_s16le opus:+libopus "
              "wv:+wavpack ");
}

} // namespace
} // namespace Tarsel::Test
