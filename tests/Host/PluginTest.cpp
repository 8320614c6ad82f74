#include "Host/Plugin.h"
#include "Host/Doubles.h"
#include "Host/EffectFactory.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Settings.h"
#include "Support/Failure.h"
#include "Support/TempFolder.h"

#include <glog/logging.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

using namespace Tarsel;
using Proc::ImplNames;
using Tarsel::Test::TextOf;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string GetFailure(std::filesystem::path const& library) {
    return TextOf<Host::PluginException>([&] { Host::Plugin const plugin(library); });
}

TEST(Plugin, StaysLoadedWhileItsEffectsAreKnown) {
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(SMALL_PLUGIN).Register(*registry);
    auto const effect = MakeSP<Host::EffectFactory>(registry)->CreateVideoEffect("small", "ffmpeg", {});
    EXPECT_EQ(effect->GetSettingsBase().GetClassId(), "small");
}

// Its log sites are on a list of glog's.
TEST(Plugin, OfEffectsStaysThoughHostsCloseIt) {
    auto const useAndClose = [] {
        for (int i = 0; i < 2; ++i) {
            void* const library = dlopen(LUMENTA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
            {
                Host::EffectRegistry registry;
                reinterpret_cast<bool (*)(Proc::IEffectRegistrar&)>(dlsym(library, "Registrator"))(registry);
                auto const& entry = *registry.Find("rotate", Proc::ImplNames::DEFAULT);
                SP<Proc::IDataVideo> frame = HostTest::MakeFrame(0);
                std::get<Proc::VideoEffectCreator>(entry.creator)({}, {})->Process(frame);
            }
            dlclose(library);
        }
        google::SetVLOGLevel("*", 31);
        std::exit(0);
    };
    EXPECT_EXIT(useAndClose(), testing::ExitedWithCode(0), "");
}

TEST(Plugin, SaysWhatTheLoaderSays) {
    EXPECT_THAT(GetFailure("/nowhere/libabsent.so"),
                AllOf(StartsWith("Cannot open plug-in \"/nowhere/libabsent.so\": "),
                      EndsWith("No such file or directory")));
    EXPECT_THAT(GetFailure(NO_PLUGIN),
                AllOf(StartsWith("\"" NO_PLUGIN "\" is not a plug-in: "), HasSubstr("Registrator")));
    // A bare name is a file of the current folder, not a library of the system.
    EXPECT_THAT(GetFailure("libc.so.6"), StartsWith("Cannot open plug-in \"libc.so.6\": "));
}

TEST(Plugin, IsLookedForAlongThePath) {
    Tarsel::Test::TempFolder const folder;
    std::filesystem::create_directory(folder / "b");
    std::ofstream(folder / "b/libunheard-of.so") << "only its name counts";

    setenv("TARSEL_PLUGIN_PATH", ((folder / "a").string() + "::" + (folder / "b").string() + ":").c_str(), 1);
    EXPECT_EQ(Host::Plugin::Find("unheard-of"), folder / "b/libunheard-of.so");
    // Beside libtarsel.so, without any path.
    unsetenv("TARSEL_PLUGIN_PATH");
    std::filesystem::path const own = std::filesystem::path(SMALL_PLUGIN).filename();
    EXPECT_EQ(Host::Plugin::Find(own.stem().string().substr(3)), SMALL_PLUGIN);

    setenv("TARSEL_PLUGIN_PATH", "/one::/two:", 1);
    EXPECT_THAT(TextOf<Host::PluginException>([] { Host::Plugin::Find("missing"); }),
                AllOf(StartsWith("There is no plug-in \"missing\": looked for /one/libmissing.so, "
                                 "/two/libmissing.so, /"),
                      HasSubstr("/tarsel/libmissing.so (")));
    unsetenv("TARSEL_PLUGIN_PATH");
}

/// What the last creator was called with.
SP<Proc::IEffectFactory const> s_givenFactory;
SP<Proc::IFactoryDataVideo const> s_givenData;

template <int number>
SP<Proc::IOneInputEffectVideo> CreateVideo(SP<Proc::IEffectFactory const> const& factory,
                                           SP<Proc::IFactoryDataVideo const> const& data) {
    s_givenFactory = factory;
    s_givenData = data;
    return MakeSP<HostTest::Effect>("number " + std::to_string(number));
}

class EffectFactoryTest : public testing::Test {
protected:
    EffectFactoryTest() {
        auto const registry = std::make_shared<Host::EffectRegistry>();
        registry->RegisterAudioEffect("turn", "ffmpeg", [](auto const&, auto const& data) {
            if (!data)
                throw std::logic_error("no data factory");
            return SP<Proc::IOneInputEffectAudio>();
        });
        registry->RegisterVideoEffect("turn", "first", CreateVideo<1>);
        registry->RegisterVideoEffect("turn", "ffmpeg", CreateVideo<2>);
        registry->RegisterTwoInputVideoEffect("mix", "ffmpeg",
                                              [](auto const&, auto const&) -> SP<Proc::ITwoInputEffectVideo> {
                                                  throw std::range_error("from the creator");
                                              });
        m_factory = MakeSP<Host::EffectFactory>(registry);
    }
    ~EffectFactoryTest() override {
        s_givenFactory.reset();
        s_givenData.reset();
    }

    SP<Host::EffectFactory> m_factory;
};

TEST_F(EffectFactoryTest, MakesTheImplementationAskedForOrTheFirstOfItsKind) {
    for (auto const& [implName, made] :
         {std::pair<std::string, std::string>("first", "number 1"),
          {ImplNames::FFMPEG, "number 2"},
          {ImplNames::DEFAULT, "number 1"}}) { // not the audio effect before it
        auto const effect = m_factory->CreateVideoEffect("turn", implName, {});
        EXPECT_EQ(effect->GetRefCount(), 1);
        EXPECT_EQ(effect->GetSettingsBase().GetClassId(), made);
        EXPECT_EQ(s_givenFactory, m_factory);
        EXPECT_NE(s_givenData->Create({}, Conf::PixFmt::GRAY8, {2, 2, 1, 1}), nullptr);
    }
    auto const own = MakeSP<Proc::FactoryDataVideo>();
    m_factory->CreateVideoEffect("turn", "first", own);
    EXPECT_EQ(s_givenData, own);
}

TEST_F(EffectFactoryTest, NamesWhatIsNotRegistered) {
    auto const& factory = *m_factory;
    EXPECT_EQ(TextOf([&] { factory.CreateVideoEffect("twist", ImplNames::DEFAULT, {}); }),
              "No video effect \"twist\" of implementation \"default\" is registered");
    EXPECT_EQ(TextOf([&] { factory.CreateTwoInputVideoEffect("turn", "ffmpeg", {}); }),
              "No two-input video effect \"turn\" of implementation \"ffmpeg\" is registered");
    EXPECT_EQ(TextOf([&] { factory.CreateAudioEffect("turn", "ffmpeg", {}); }),
              "The creator of the audio effect \"turn\" of implementation \"ffmpeg\" returned no effect");
    EXPECT_THROW(MakeSP<Host::EffectFactory>(nullptr), Proc::EffectException);
    EXPECT_THROW(factory.CreateTwoInputVideoEffect("mix", "ffmpeg", {}), std::range_error);
}

TEST(EffectRegistry, KeepsTheOrderReplacesInPlaceAndNamesWhatIsMissing) {
    Host::EffectRegistry registry;
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "ffmpeg", CreateVideo<1>));
    EXPECT_TRUE(registry.RegisterVideoEffect("flip", "other", CreateVideo<1>));
    EXPECT_FALSE(registry.RegisterVideoEffect("flip", "ffmpeg", CreateVideo<2>));
    for (auto const& [id, name, creator, missing] : {std::tuple("", "ffmpeg", &CreateVideo<1>, "class id"),
                                                     {"flip", "", &CreateVideo<1>, "implementation name"},
                                                     {"flip", "ffmpeg", nullptr, "creator"}})
        EXPECT_EQ(TextOf([&, &a = id, &b = name, &c = creator] { registry.RegisterVideoEffect(a, b, c); }),
                  std::string("Cannot register an effect without ") + missing + ": class id \"" + id +
                      "\", implementation \"" + name + "\"");
    ASSERT_EQ(registry.GetEntries().size(), 2U);
    EXPECT_EQ(std::get<Proc::VideoEffectCreator>(registry.GetEntries()[0].creator), CreateVideo<2>);
    EXPECT_EQ(registry.Find("flip", "other"), &registry.GetEntries()[1]);
}

} // namespace
