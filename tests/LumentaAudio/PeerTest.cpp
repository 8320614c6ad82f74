#include "AudioCases.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>

/// Every effect gives, bit for bit, what the ffmpeg program gives for the same text.
namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;

/// Filters work on pairs of samples, and round otherwise where blocks begin elsewhere.
constexpr int s_blockSize = 1001;
constexpr int s_samples = 6000;

/// The ffmpeg program's names of raw audio, in the order of the packed formats and of the planar ones.
constexpr std::array s_rawNames{"u8", "s16le", "s32le", "f32le", "f64le"};

std::string GetRawName(SampleFormats format) {
    return s_rawNames[static_cast<std::size_t>(format) % s_rawNames.size()];
}

template <class Real>
void ClipReals(std::string& raw) {
    for (std::size_t at = 0; at + sizeof(Real) <= raw.size(); at += sizeof(Real)) {
        Real value;
        std::memcpy(&value, raw.data() + at, sizeof value);
        value = std::clamp(value, Real{-1}, Real{1});
        std::memcpy(raw.data() + at, &value, sizeof value);
    }
}

/// As the equalizer does it after the filter.
void Clip(std::string& raw, Conf::SampleFmtRecord const& format) {
    if (format.planarCounterpart == SampleFormats::FloatPlanar)
        ClipReals<float>(raw);
    if (format.planarCounterpart == SampleFormats::DoublePlanar)
        ClipReals<double>(raw);
}

struct PeerCase {
    SampleFormats format;
    Conf::ChannelLayout layout;

    friend std::ostream& operator<<(std::ostream& stream, PeerCase const& row) {
        return stream << Conf::SampleFmtRecord::Find(row.format).name << ' ' << row.layout.GetName();
    }
};

class Peer : public testing::TestWithParam<PeerCase> {};

/// All effects over one audio, by one run of the program.
TEST_P(Peer, GivesTheSameBits) {
    auto const info = Conf::SampleInfo::Init(GetParam().format, 44100, GetParam().layout);
    auto const& record = Conf::SampleFmtRecord::Find(info.format);
    SP<Proc::IDataAudio> const audio = MakeAudioNoise(info, s_samples);
    TempFolder const folder;
    WriteFile(folder / "in.raw", GetRaw({audio}));
    // The program's vibrato begins with what its memory held: let that be zeros.
    std::string const begin =
        "env MALLOC_PERTURB_=255 ffmpeg -nostdin -v error -filter_threads 1 -ar 44100 -ac " +
        std::to_string(info.layout.channels) + " -f " + GetRawName(info.format) + " -i";
    std::vector<std::string> command = SplitWords(begin);
    command.push_back(folder / "in.raw");
    std::vector<Blocks> outcomes;
    for (AudioCase const& row : GetAudioCases()) {
        auto const effect = row.Make();
        outcomes.push_back(RunStream(*effect, Cut(*audio, {s_blockSize})));
        ASSERT_FALSE(outcomes.back().empty()) << row;
        std::string const text = Explain(*effect, info);
        std::string const raw = GetRawName(outcomes.back().front()->GetSampleFormat());
        std::string const codec = "pcm_" + raw;
        for (std::string const& word :
             {std::string("-af"),
              "aformat=sample_fmts=" + std::string(record.name) +
                  ",asetnsamples=p=0:n=" + std::to_string(s_blockSize) + "," + text,
              std::string("-c:a"), codec, std::string("-f"), raw, (folder / row.name).string()})
            command.push_back(word);
    }
    RunForOutput(command);
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        AudioCase const& row = GetAudioCases()[i];
        std::string expected = ReadFile(folder / row.name);
        if (row.classId == "equalizer")
            Clip(expected, Conf::SampleFmtRecord::Find(outcomes[i].front()->GetSampleFormat()));
        EXPECT_EQ(CountSamples(outcomes[i]), s_samples + row.tail) << row;
        EXPECT_TRUE(GetRaw(outcomes[i]) == expected) << row << " gave others";
    }
}

std::vector<PeerCase> GetPeerCases() {
    std::vector<PeerCase> cases;
    for (std::uint32_t format = 0; format < 10; ++format)
        for (Conf::ChannelLayout const layout : {Conf::ChannelLayout{4, 1}, {3, 2}, {0x3F, 6}})
            cases.push_back({static_cast<SampleFormats>(format), layout});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AudioEffects, Peer, testing::ValuesIn(GetPeerCases()), [](auto const& test) {
    return std::string(Conf::SampleFmtRecord::Find(test.param.format).name) +
           std::to_string(test.param.layout.channels);
});

} // namespace
} // namespace Tarsel::Test
