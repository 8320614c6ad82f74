#include "Host/EffectRegistry.h"

#include "Proc/Interfaces/ImplNames.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace Tarsel;
using Host::EffectRegistry;

namespace {

template <class I, class Data, int>
SP<I> Create(SP<Proc::IEffectFactory const> const&, SP<Data const> const&) {
    return {};
}

constexpr Proc::VideoEffectCreator s_video = Create<Proc::IOneInputEffectVideo, Proc::IFactoryDataVideo, 0>;
constexpr Proc::VideoEffectCreator s_otherVideo =
    Create<Proc::IOneInputEffectVideo, Proc::IFactoryDataVideo, 1>;
constexpr Proc::AudioEffectCreator s_audio = Create<Proc::IOneInputEffectAudio, Proc::IFactoryDataAudio, 0>;
constexpr Proc::TwoInputVideoEffectCreator s_twoVideo =
    Create<Proc::ITwoInputEffectVideo, Proc::IFactoryDataVideo, 0>;

TEST(EffectRegistry, KeepsTheOrderAndReplacesInPlace) {
    EffectRegistry registry;
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "ffmpeg", s_video));
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "other", s_video));
    EXPECT_TRUE(registry.RegisterAudioEffect("flip", "ffmpeg", s_audio)); // another kind
    EXPECT_TRUE(registry.RegisterTwoInputVideoEffect("mix", "ffmpeg", s_twoVideo));
    EXPECT_TRUE(registry.RegisterTwoInputAudioEffect(
        "mix", "ffmpeg", [](auto const&, auto const&) -> SP<Proc::ITwoInputEffectAudio> { throw 0; }));
    EXPECT_FALSE(registry.RegisterVideoEffect("flip", "ffmpeg", s_otherVideo));

    std::vector<std::string> all;
    for (Host::EffectEntry const& entry : registry.GetEntries())
        all.push_back(entry.classId + "/" + entry.implName + "/" + std::string(GetName(entry.GetKind())));
    EXPECT_THAT(all, testing::ElementsAre("flip/ffmpeg/video", "flip/other/video", "flip/ffmpeg/audio",
                                          "mix/ffmpeg/two-input video", "mix/ffmpeg/two-input audio"));
    EXPECT_EQ(std::get<Proc::VideoEffectCreator>(registry.GetEntries()[0].creator), s_otherVideo);
}

TEST(EffectRegistry, FindsByImplementationOrTheFirst) {
    EffectRegistry registry;
    registry.RegisterVideoEffect("flip", "first", s_video);
    registry.RegisterVideoEffect("flip", "second", s_video);
    auto const& entries = registry.GetEntries();
    EXPECT_EQ(registry.Find("flip", "second"), &entries[1]);
    EXPECT_EQ(registry.Find("flip", Proc::ImplNames::DEFAULT), &entries[0]);
    EXPECT_EQ(registry.Find("flip", "third"), nullptr);
    EXPECT_EQ(registry.Find("flop", Proc::ImplNames::DEFAULT), nullptr);
}

TEST(EffectRegistry, NamesWhatIsMissing) {
    EffectRegistry registry;
    auto const expect = [&](char const* id, char const* name, Proc::VideoEffectCreator creator,
                            char const* text) {
        EXPECT_EQ(Tarsel::Test::TextOf([&] { registry.RegisterVideoEffect(id, name, creator); }), text);
    };
    expect("", "ffmpeg", s_video,
           "Cannot register an effect without class id: class id \"\", implementation \"ffmpeg\"");
    expect("flip", "", s_video,
           "Cannot register an effect without implementation name: class id \"flip\", implementation \"\"");
    expect("flip", "ffmpeg", nullptr,
           "Cannot register an effect without creator: class id \"flip\", implementation \"ffmpeg\"");
    EXPECT_TRUE(registry.GetEntries().empty());
}

} // namespace
