#include "Host/CheckingEffect.h"
#include "Check/BadEffects.h"
#include "Check/Data.h"
#include "Check/OtherSettings.h"
#include "Check/RandomSettings.h"
#include "Host/Doubles.h"
#include "Host/EffectFactory.h"
#include "Host/PairedEffect.h"
#include "Host/Plugin.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <limits>
#include <map>

extern "C" {
#include <libavutil/frame.h>
}

/// That an effect behind checks reports misuse by host and effect, and nothing else.
namespace Tarsel::Check {
namespace {

using Host::Misuse;
using Host::Party;
using testing::Contains;
using testing::IsEmpty;
using testing::Key;

/// What was reported, by the rule.
struct Reports {
    std::map<std::string, std::string> host;
    std::map<std::string, std::string> effect;

    Host::MisuseListener Listen() {
        return [this](Misuse const& misuse) {
            (misuse.party == Party::Host ? host : effect).emplace(misuse.rule, Host::Describe(misuse));
        };
    }
};

SP<Host::EffectFactory> LoadPlugin(std::string const& library, Host::MisuseListener const& listener) {
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(library).Register(*registry);
    return MakeSP<Host::EffectFactory>(registry, listener);
}

/// Does `work`, whatever it throws.
template <class Work>
void Try(Work const& work) {
    try {
        work();
    } catch (...) { // an effect may refuse anything
    }
}

/// A stream of `count`, whose times are not round; every second time with questions and refused settings
/// before the results are taken.
template <class M>
void RunStream(typename M::Effect& effect, typename M::Form const& form, int count, std::int64_t start) {
    auto& stream = dynamic_cast<typename M::Stream&>(effect);
    std::vector<SP<typename M::Data>> results;
    auto const take = [&] {
        while (auto result = stream.Take())
            results.push_back(std::move(result));
    };
    for (int i = 0; i < count; ++i) {
        auto const datum = MakeDatum(form, i);
        datum->SetTime(start == std::numeric_limits<std::int64_t>::min() ? start : start + datum->GetTime());
        stream.Feed(datum);
        if (i % 2 == 1) {
            auto format = MakeFormat(form);
            effect.UpdateFormatCodec(format);
            Try([&] { effect.SetSettings(OtherSettings()); });
        }
        if (i != 2)
            take();
    }
    stream.End();
    take();
}

/// What a host may do with an effect.
template <class M>
void Use(typename M::Effect& effect, typename M::Form const& form) {
    auto format = MakeFormat(form);
    effect.UpdateFormatCodec(format);
    if (auto* const stream = dynamic_cast<typename M::Stream*>(&effect)) {
        RunStream<M>(effect, form, 6, 7);
        RunStream<M>(effect, form, 2, std::numeric_limits<std::int64_t>::min());
        stream->Feed(MakeDatum(form, 0));
        effect.Reset();
        (void)stream->Take();
        effect.Reset();
    }
    std::vector<SP<typename M::Data>> results;
    for (int i = 0; i < 4; ++i) {
        auto datum = i < 3 ? MakeDatum(form, i) : SP<typename M::Data>();
        effect.Process(datum);
        results.push_back(datum);
    }
    effect.Reset();
}

template <class M>
void UseWithManySettings(typename M::Effect& effect, std::vector<typename M::Form> const& forms) {
    std::mt19937 random(1);
    constexpr int draws = 9;
    for (int i = 0; i < draws; ++i) {
        for (auto const& form : i % 4 == 0 ? forms : std::vector<typename M::Form>()) {
            Try([&] { Use<M>(effect, form); });
            effect.Reset();
        }
        auto const settings = RandomSettings(random, RandomReach::Near).Draw(effect.GetSettingsBase());
        if (Proc::Field const* const enabled = Proc::FindField(settings->GetFields(), "enabled"))
            Proc::WriteField(*settings, *enabled, true);
        Try([&] { effect.SetSettings(*settings); });
    }
}

/// Rows with padding and without, and an odd width.
std::vector<Video::Form> const s_frames{
    {Conf::PixFmt::YUV420P, 36, 32}, {Conf::PixFmt::RGBA, 32, 32}, {Conf::PixFmt::YUV420P, 33, 32}};

TEST(CheckingEffect, ReportsTheFaultsOfEffects) {
    Reports all;
    auto const factory = LoadPlugin(TEST_BAD_EFFECTS, {});
    for (auto const& [classId, check, rule] : Tarsel::Test::s_faults) {
        if (*check != '\0' && *rule == '\0') // one that calls do not show
            continue;
        SCOPED_TRACE(classId);
        Reports reports;
        auto const effect =
            Host::CheckEffect(factory->CreateVideoEffect(classId, "test", {}), reports.Listen());
        UseWithManySettings<Video>(*effect, s_frames);
        reports.host.erase("settings-of-its-class");
        EXPECT_THAT(reports.host, IsEmpty());
        if (*rule == '\0')
            EXPECT_THAT(reports.effect, IsEmpty());
        else
            EXPECT_THAT(reports.effect, Contains(Key(rule)));
    }
}

TEST(CheckingEffect, ReportsNothingOfTheLibrary) {
    // Some settings name files.
    Tarsel::Test::TempFolder const folder;
    std::filesystem::current_path(folder.GetPath());
    Reports reports;
    auto const factory = LoadPlugin(LUMENTA_PLUGIN, reports.Listen());
    auto const second = MakeDatum(Video::Form(), 1000);
    for (Host::EffectEntry const& entry : factory->GetRegistry().GetEntries()) {
        SCOPED_TRACE(entry.classId);
        auto const effect = factory->Create(entry);
        if (auto const audio = boost::dynamic_pointer_cast<Proc::IOneInputEffectAudio>(effect))
            UseWithManySettings<Audio>(*audio, GetUsualForms(Audio()));
        else if (auto const video = boost::dynamic_pointer_cast<Proc::IOneInputEffectVideo>(effect))
            UseWithManySettings<Video>(*video, s_frames);
        else
            UseWithManySettings<Video>(
                *Host::PairEffect(boost::dynamic_pointer_cast<Proc::ITwoInputEffectVideo>(effect),
                                  [&](std::int64_t) { return second; }),
                s_frames);
        reports.host.erase("settings-of-its-class"); // refused ones are tried on purpose
        EXPECT_THAT(reports.host, IsEmpty());
        // It states formats without alpha unchanged, whatever its filters make of them.
        if (entry.classId == "color-balance")
            reports.effect.erase("format-agrees");
        EXPECT_THAT(reports.effect, IsEmpty());
        reports = {};
    }
}

/// A host's mistake, and the rule that it breaks.
struct Mistake {
    char const* rule;
    void (*make)(Proc::IOneInputEffectVideo&, Proc::IEffectStreamVideo&);
    /// Part of the report.
    char const* text;
};

SP<Proc::IDataVideo> Frame() {
    return MakeDatum(Video::Form(), 0);
}

TEST(CheckingEffect, ReportsTheMistakesOfHosts) {
    using Effect = Proc::IOneInputEffectVideo;
    using Stream = Proc::IEffectStreamVideo;
    Mistake const mistakes[] = {
        {"data-not-null", [](Effect&, Stream& stream) { stream.Feed({}); }, "Feed: the host"},
        {"interfaces-apart",
         [](Effect& effect, Stream& stream) {
             auto frame = Frame();
             effect.Process(frame);
             stream.Feed(Frame());
         },
         "Feed: "},
        {"taken-to-the-end",
         [](Effect&, Stream& stream) {
             stream.Feed(Frame());
             stream.End();
             stream.Feed(Frame());
         },
         "Feed: "},
        {"taken-to-the-end",
         [](Effect&, Stream& stream) {
             stream.Feed(Frame());
             stream.End();
             while (stream.Take()) {
             }
             stream.Take();
         },
         "Take: "},
        {"data-with-memory",
         [](Effect& effect, Stream&) {
             auto frame = Frame();
             frame->GetAVFrame()->width = 2;
             effect.Process(frame);
         },
         "64x48"},
        {"format-asked",
         [](Effect& effect, Stream&) {
             auto format = MakeFormat(Video::Form{Conf::PixFmt::RGBA, 32, 16});
             effect.UpdateFormatCodec(format);
             auto frame = Frame();
             effect.Process(frame);
         },
         "yuv420p 64x48; the format was asked for rgba 32x16"},
        {"format-not-null",
         [](Effect& effect, Stream&) {
             SP<Conf::IFormatCodecVideo> format;
             effect.UpdateFormatCodec(format);
         },
         "UpdateFormatCodec"},
        {"settings-of-its-class", [](Effect& effect, Stream&) { effect.SetSettings(OtherSettings()); },
         "settings of \"no-such-effect\" for an effect with those of \"flip\""},
        {"input-unchanged",
         [](Effect&, Stream& stream) {
             auto const frame = Frame();
             stream.Feed(frame);
             Invert(*frame);
             stream.Take();
         },
         "the frame at 0 us"},
        {"data-count",
         [](Effect& effect, Stream&) {
             effect.ProcessData({Frame(), Frame()});
         },
         "2 inputs"},
        {"data-of-the-medium",
         [](Effect& effect, Stream&) {
             effect.ProcessData(std::vector<SP<Proc::IData>>{MakeDatum(Audio::Form(), 0)});
         },
         "ProcessData"},
    };
    auto const factory = LoadPlugin(TEST_BAD_EFFECTS, {});
    for (auto const& [rule, make, text] : mistakes) {
        SCOPED_TRACE(rule);
        Reports reports;
        auto const effect =
            Host::CheckEffect(factory->CreateVideoEffect("good", "test", {}), reports.Listen());
        Try([&, &mistake = make] { mistake(*effect, dynamic_cast<Stream&>(*effect)); });
        EXPECT_THAT(reports.host, ElementsAre(testing::Pair(rule, testing::HasSubstr(text))));
        EXPECT_THAT(reports.effect, IsEmpty());
    }
}

TEST(CheckingEffect, ReportsTwoThreadsAtOnce) {
    std::promise<void> entered;
    std::promise<void> reported;
    auto const wait = [&](auto const& frame, HostTest::Frames&) {
        if (frame) {
            entered.set_value();
            reported.get_future().wait();
        }
    };
    auto const effect =
        Host::CheckEffect(MakeSP<HostTest::ProcessEffect>("waiting", wait), [&](Misuse const& misuse) {
            EXPECT_EQ(Host::Describe(misuse),
                      "waiting: GetStatistic: the host breaks \"one-thread-at-a-time\": "
                      "called while another thread is in Process");
            reported.set_value();
        });
    auto const work = std::async(std::launch::async, [&] {
        auto frame = Frame();
        effect->Process(frame);
    });
    entered.get_future().wait();
    (void)effect->GetStatistic();
}

/// A result that anyone may write to, in the memory of the frame that went in.
SP<Proc::IDataVideo> MakeAlias(SP<Proc::IDataVideo> const& frame) {
    AVFrame const& memory = *frame->GetAVFrame();
    Proc::SafeFrame alias;
    alias->format = memory.format;
    alias->width = memory.width;
    alias->height = memory.height;
    for (int i = 0; i < 3; ++i) {
        alias->data[i] = memory.data[i];
        alias->linesize[i] = memory.linesize[i];
    }
    alias->buf[0] = av_buffer_create(
        memory.buf[0]->data, memory.buf[0]->size, [](void*, std::uint8_t*) {}, nullptr, 0);
    return MakeSP<Proc::DataVideoFF>(*alias, frame->GetFrameInfo());
}

TEST(CheckingEffect, ReportsResultsInTheMemoryOfTheirInput) {
    Reports reports;
    auto const effect =
        Host::CheckEffect(MakeSP<HostTest::ProcessEffect>("alias",
                                                          [](auto const& frame, HostTest::Frames& ready) {
                                                              if (frame)
                                                                  ready.push_back(MakeAlias(frame));
                                                          }),
                          reports.Listen());
    auto frame = Frame();
    auto const input = frame;
    effect->Process(frame);
    EXPECT_THAT(reports.effect, Contains(Key("result-apart")));
}

TEST(CheckingEffect, IsMadeWhereTheEnvironmentAsksForIt) {
    for (auto const& [value, isOn] : {std::pair{"", false}, {"0", false}, {"1", true}}) {
        setenv("TARSEL_CHECK_EFFECTS", value, 1);
        EXPECT_EQ(static_cast<bool>(Host::GetMisuseListener()), isOn) << value;
    }
    unsetenv("TARSEL_CHECK_EFFECTS");
    EXPECT_FALSE(Host::GetMisuseListener());
}

} // namespace
} // namespace Tarsel::Check
