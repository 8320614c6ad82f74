#include "AudioCases.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Support/CommaLocale.h"
#include "Support/LibraryEffects.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"
#include "Support/TextRows.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <limits>

/// What the audio effects make of their settings, and of samples.
namespace Tarsel::Test {
namespace {

using Conf::SampleFormats;
using Proc::IDataAudio;

/// The texts of settings at the edges, beside those of the table of effects.
/// For stereo of 44100 Hz, or "<rate> <layout mask>/<channels>".
constexpr char const* s_texts = R"(
distortion amount=0 => aeval=tanh(40 * val(ch)):c=same
distortion amount=1 => aeval=tanh(200 * val(ch)):c=same
distortion amount=0.25 => aeval=tanh(42.5 * val(ch)):c=same
distortion amount=0.333333343 => aeval=tanh(45.9259 * val(ch)):c=same
distortion mode=wrap:amount=0 => aeval=mod(0.03 * val(ch)\, 2)-1:c=same
distortion mode=wrap:amount=0.25 => aeval=mod(0.7725 * val(ch)\, 2)-1:c=same
distortion mode=cube:amount=0.25 => aeval=pow(7.8125 * val(ch)\, 3):c=same
distortion mode=sine:amount=0.25 => aeval=sin(3.59375 * val(ch)):c=same
distortion amount=0.027 => aeval=tanh(40.0032 * val(ch)):c=same
distortion amount=0.598 => aeval=tanh(74.2155 * val(ch)):c=same
distortion mode=cube:amount=0.003 => aeval=pow(5.0004 * val(ch)\, 3):c=same
distortion mode=cube:amount=0.105 => aeval=pow(5.49613 * val(ch)\, 3):c=same
distortion mode=sine:amount=0.001 => aeval=sin(0.500049 * val(ch)):c=same
distortion mode=sine:amount=0.077 => aeval=sin(0.793486 * val(ch)):c=same
distortion mode=soft-clip:amount=0:gain=0:tone=0
    => aeval=(1 + 0.031595) * 0 * val(ch) / (1 + 0.031595 * abs(0 * val(ch))):c=same, lowpass=f=1000
distortion mode=soft-clip:amount=1:gain=1:tone=1
    => aeval=(1 + 16535.4) * 99 * val(ch) / (1 + 16535.4 * abs(99 * val(ch))):c=same, lowpass=f=19990
distortion mode=soft-clip:amount=0.25:gain=0.1:tone=0.3
    => aeval=(1 + 1.27792) * 9.9 * val(ch) / (1 + 1.27792 * abs(9.9 * val(ch))):c=same, lowpass=f=9467
distortion mode=soft-clip:amount=0:gain=0:tone=0.018564
    => aeval=(1 + 0.031595) * 0 * val(ch) / (1 + 0.031595 * abs(0 * val(ch))):c=same, lowpass=f=1542
distortion mode=soft-clip:amount=0:gain=0:tone=0.034199
    => aeval=(1 + 0.031595) * 0 * val(ch) / (1 + 0.031595 * abs(0 * val(ch))):c=same, lowpass=f=1999
flanger delay=0.1:depth=9.87654321:regen=-95:width=0.333333343:speed=10:phase=100:shape=triangular:interp=quadratic
    => flanger=delay=0.1:depth=9.87654:regen=-95:width=33.3333:speed=10:phase=100:shape=triangular:interp=quadratic
vibrato frequency=20000:depth=0.123456789 => vibrato=f=20000:d=0.123457
compressor level-in=4:mix=0.25
    => acompressor=level_in=1:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:link=average:detection=rms:mix=0.25
compressor level-in=64:mix=0
    => acompressor=level_in=0.015625:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:link=average:detection=rms:mix=0
compressor level-in=64:mix=0.9
    => acompressor=level_in=57.6:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:link=average:detection=rms:mix=0.9
compressor threshold=0.000976563:ratio=20:attack=0.01:release=9000:makeup=64:knee=1:link=maximum:detection=peak
    => acompressor=level_in=1:threshold=0.000976563:ratio=20:attack=0.01:release=9000:makeup=64:knee=1:link=maximum:detection=peak:mix=1
gate range=1
    => agate=level_in=1:range=0:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:detection=rms:link=average
gate range=0.25
    => agate=level_in=1:range=0.75:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:detection=rms:link=average
gate range=0
    => agate=level_in=1:range=1:threshold=0.125:ratio=2:attack=20:release=250:makeup=1:knee=2.82843:detection=rms:link=average
gate level-in=64:threshold=0:ratio=9000:attack=0.01:release=0.01:makeup=2.5:knee=8:detection=peak:link=maximum
    => agate=level_in=64:range=0.06125:threshold=0:ratio=9000:attack=0.01:release=0.01:makeup=2.5:knee=8:detection=peak:link=maximum
noise-gate threshold=-40:reduction=0.5 => compand=0.01|0.01:0.2|0.2:-900/-900|-40/-900|-39.9/-39.9:6:-25:-90:.1
noise-gate threshold=-5:reduction=0.3 => compand=0.01:0.2:-900/-900|-5/-900|-4.9/-4.9:6:-15:-90:.1 @ 44100 4/1
noise-gate threshold=-900:reduction=0.0199
    => compand=0.01|0.01|0.01:0.2|0.2|0.2:-900/-900|-900/-900|-899.9/-899.9:6:0:-90:.1 @ 44100 0/3
noise-gate threshold=-40:reduction=0.58 => compand=0.01|0.01:0.2|0.2:-900/-900|-40/-900|-39.9/-39.9:6:-29:-90:.1
noise-gate threshold=-40:attack=1e-7:decay=10:soft-knee=0.01:reduction=1
    => compand=1e-07|1e-07:10|10:-900/-900|-40/-900|-39.9/-39.9:0.01:-50:-90:.1
echo echos=500/0.5:in-gain=0.8:out-gain=0.9 => aecho=in_gain=0.8:out_gain=0.9:delays=500.000000:decays=0.500000
echo echos=100/0.3|250/0.25:scale=2:in-gain=1e-7
    => aecho=in_gain=1e-07:out_gain=1:delays=200.000000|500.000000:decays=0.300000|0.250000
echo echos=89999/0.66666666666666663:scale=0.1 => aecho=in_gain=1:out_gain=1:delays=8999.900391:decays=0.666667
chorus voices=40/0.4/0.25/2:scale=0.5 => chorus=in_gain=0.5:out_gain=0.9:delays=40:decays=0.200000:speeds=0.250000:depths=2.000000
chorus voices=20/1/20/0|60/0.5/0.1/5.5:in-gain=0.1:scale=0.1
    => chorus=in_gain=0.1:out_gain=0.9:delays=20|60:decays=0.100000|0.050000:speeds=20.000000|0.100000:depths=0.000000|5.500000
reverb amount=0 => aecho=in_gain=1.0:out_gain=0.7:delays=10:decays=0.5
reverb amount=1 => aecho=in_gain=1.0:out_gain=0.7:delays=50:decays=0.5
reverb amount=0.333333343 => aecho=in_gain=1.0:out_gain=0.7:delays=23.3333:decays=0.5
equalizer bands=100/3|1000/-2.5 => equalizer=f=100:width_type=o:width=1:g=3,equalizer=f=1000:width_type=o:width=1:g=-2.5
equalizer bands=22050/3 =>
equalizer bands=22049/3 => equalizer=f=22049:width_type=o:width=1:g=3
equalizer bands=22050/3 => equalizer=f=22050:width_type=o:width=1:g=3 @ 48000 3/2
equalizer bands=5/3|4/3 => equalizer=f=4:width_type=o:width=1:g=3 @ 11 3/2
equalizer bands=30000/1|100/3:factor=0.5 => equalizer=f=100:width_type=o:width=1:g=1.5
equalizer =>
)";

/// In the locale of the process and in one with a decimal comma.
TEST(Text, OfEverySettingAtItsEdges) {
    auto const expect = [](char const* where) {
        for (TextRow const& row : ReadTextRows(s_texts)) {
            Conf::SampleInfo info = s_stereo;
            unsigned mask = 3;
            unsigned channels = 2;
            if (std::sscanf(row.remark.c_str(), "%d %u/%u", &info.rate, &mask, &channels) == 3)
                info.layout = {mask, static_cast<std::uint8_t>(channels)};
            EXPECT_EQ(Explain(*MakeEffect(row.classId, row.options), info), row.text)
                << row.classId << ' ' << row.options << where;
        }
    };
    expect("");
    CommaLocale const comma;
    expect(" in a locale with a decimal comma");
}

SP<IDataAudio> MakeBlock() {
    return MakeAudioNoise(s_stereo, 1024);
}

std::int64_t GetProcessed(Proc::IEffect const& effect) {
    return effect.GetStatistic()["Processed"].GetInt64();
}

class AudioWrapper : public testing::TestWithParam<AudioCase> {};

TEST_P(AudioWrapper, TellsItsFilterTakesPropertiesAndGivesNone) {
    AudioCase const& row = GetParam();
    auto const effect = row.Make();
    EXPECT_EQ(Explain(*effect), row.text);
    SP<Proc::IData> data = MakeBlock();
    effect->ProcessData(data);
    RunStream(*effect, {MakeBlock()}); // which the statistics outlast
    Core::Property const statistic = effect->GetStatistic();
    EXPECT_EQ(statistic["Options"].GetString(), row.text);
    std::string const of = "EffectActionsAudio<Tarsel::Proc::" + row.name + ">";
    std::string const start = "virtual Core::Property EffectFafloplalAudio<" + of + ">::";
    std::string const end = "() const [EffectActionsAudio = " + of + "]";
    EXPECT_EQ(statistic["Name"].GetString(), start + "GetStatistic" + end);

    Failure const failure = Catch<std::logic_error>([&] { effect->GetSettings(); });
    EXPECT_EQ(failure.text, "Property settings is not supported");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalAudio");
    EXPECT_EQ(failure.function, start + "GetSettings" + end);
    EXPECT_TRUE(failure.hasStack);
    auto const settings = MakeSettings(row.classId, row.options);
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(*settings));
    effect->SetSettings(Proc::Settings2Property(*settings));
    bool const reads = row.classId == "noise-gate";
    EXPECT_TRUE(
        effect->GetSettingsBase().IsEqualTo(reads ? *settings : MakeEffect(row.classId)->GetSettingsBase()));
}

INSTANTIATE_TEST_SUITE_P(AudioEffects, AudioWrapper, testing::ValuesIn(GetAudioCases()),
                         [](auto const& test) { return test.param.name; });

/// Settings that leave audio as it is, or just not.
TEST(AudioWrapper, PassesUntouchedWhatItWouldNotChange) {
    for (auto const& [classId, options, isActive] :
         {std::tuple{"equalizer", "", false},
          {"equalizer", "bands=100/3:factor=0", false},
          {"equalizer", "bands=100/3:factor=1e-39", false}, // next to 0
          {"equalizer", "bands=100/3:factor=-1.2e-38", true},
          {"equalizer", "bands=22050/3|30000/3", false},
          {"echo", "", false},
          {"echo", "echos=100/0.5:scale=0", false},
          {"echo", "echos=100/0.5", true},
          {"chorus", "", false},
          {"chorus", "voices=40/0.5/1/1:scale=0", false},
          {"chorus", "voices=40/0.5/1/1:scale=1.2e-38", true},
          {"noise-gate", "threshold=-4.999999999:reduction=0.5", false},
          {"noise-gate", "threshold=-5:reduction=0.5", true},
          {"noise-gate", "threshold=-40:reduction=0", false},
          {"distortion", "amount=0", true},
          {"compressor", "mix=0", true},
          {"gate", "range=0", true},
          {"reverb", "amount=0", true},
          {"flanger", "width=0", true},
          {"vibrato", "depth=0", true}}) {
        SCOPED_TRACE(classId + (std::string(" ") + options));
        auto const effect = MakeEffect(classId, options);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        effect->Process(data);
        EXPECT_EQ(data != block, isActive);
        EXPECT_EQ(GetProcessed(*effect), isActive ? 1 : 0);
        EXPECT_EQ(Explain(*effect).empty(), !isActive);
    }
}

TEST(AudioWrapper, InfiniteGainsCountAsNone) {
    for (auto const& [classId, options, key] :
         {std::tuple{"equalizer", "bands=1000/5", "factor"}, {"echo", "echos=10/0.5", "scale"}}) {
        auto const settings = MakeSettings(classId, options);
        Proc::FindField(settings->GetFields(), key)->set(*settings, std::numeric_limits<double>::infinity());
        auto const effect = MakeEffect(classId);
        effect->SetSettings(*settings);
        SP<IDataAudio> const block = MakeBlock();
        SP<IDataAudio> data = block;
        effect->Process(data);
        EXPECT_EQ(data, block);
    }
}

TEST(AudioWrapper, StatisticsBeforeTheFirstBlock) {
    EXPECT_EQ(GetAudioCase("equalizer").Make()->GetStatistic()["Options"].GetString(), "");
    auto const gate = GetAudioCase("noise-gate").Make();
    std::string const unknown = "compand=::-900/-900|-5/-900|-4.9/-4.9:6:-5:-90:.1";
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
    SP<IDataAudio> data = MakeBlock();
    gate->Process(data);
    EXPECT_NE(gate->GetStatistic()["Options"].GetString(), unknown);
    gate->Reset();
    EXPECT_EQ(gate->GetStatistic()["Options"].GetString(), unknown);
}

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

/// Every effect gives, bit for bit, what the ffmpeg program gives for the same text.
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
