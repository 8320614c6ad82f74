#include "Host/Plugin.h"

#include "Host/EffectFactory.h"
#include "Proc/Settings/Settings.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

using namespace Tarsel;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string GetFailure(std::filesystem::path const& library) {
    try {
        Host::Plugin const plugin(library);
    } catch (Host::PluginException const& exception) {
        return exception.what();
    }
    return "";
}

TEST(Plugin, RegistersItsEffects) {
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(SMALL_PLUGIN).Register(*registry);
    ASSERT_EQ(registry->GetEntries().size(), 3U);
    EXPECT_EQ(registry->GetEntries()[0].GetKind(), Host::EffectKind::Video);
    EXPECT_EQ(registry->GetEntries()[1].GetKind(), Host::EffectKind::TwoInputVideo);
    EXPECT_EQ(registry->GetEntries()[2].GetKind(), Host::EffectKind::Audio);
    // The code is still there though the Plugin object is gone.
    auto const effect = MakeSP<Host::EffectFactory>(registry)->CreateVideoEffect("small", "ffmpeg", {});
    EXPECT_EQ(effect->GetSettingsBase().GetClassId(), "small");
}

TEST(Plugin, LetsExceptionsOfTheRegistrarPass) {
    struct Refusing : Proc::IEffectRegistrar {
        bool RegisterAudioEffect(std::string const&, std::string const&, Proc::AudioEffectCreator) override {
            return true;
        }
        bool RegisterVideoEffect(std::string const& id, std::string const&,
                                 Proc::VideoEffectCreator) override {
            throw std::domain_error(id);
        }
        bool RegisterTwoInputAudioEffect(std::string const&, std::string const&,
                                         Proc::TwoInputAudioEffectCreator) override {
            return true;
        }
        bool RegisterTwoInputVideoEffect(std::string const&, std::string const&,
                                         Proc::TwoInputVideoEffectCreator) override {
            return true;
        }
    } registrar;
    EXPECT_THROW(Host::Plugin(SMALL_PLUGIN).Register(registrar), std::domain_error);
}

TEST(Plugin, SaysWhatTheLoaderSays) {
    EXPECT_THAT(GetFailure("/nowhere/libabsent.so"),
                AllOf(StartsWith("Cannot open plug-in \"/nowhere/libabsent.so\": "),
                      EndsWith("No such file or directory")));
    EXPECT_THAT(GetFailure(NO_PLUGIN),
                AllOf(StartsWith("\"" NO_PLUGIN "\" is no plug-in: "), HasSubstr("Registrator")));
    // A bare name is a file of the current folder, not a library of the system.
    EXPECT_THAT(GetFailure("libc.so.6"), StartsWith("Cannot open plug-in \"libc.so.6\": "));
}

TEST(Plugin, IsLookedForAlongThePath) {
    std::string pattern = (std::filesystem::temp_directory_path() / "plugin-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    std::filesystem::path const folder = pattern;
    std::filesystem::create_directory(folder / "b");
    std::ofstream(folder / "b" / "libunheard-of.so") << "only its name counts";

    setenv("TARSEL_PLUGIN_PATH", (pattern + "/a::" + pattern + "/b:").c_str(), 1);
    EXPECT_EQ(Host::Plugin::Find("unheard-of"), folder / "b" / "libunheard-of.so");
    // Beside libtarsel.so, without any path.
    unsetenv("TARSEL_PLUGIN_PATH");
    std::filesystem::path const own = std::filesystem::path(SMALL_PLUGIN).filename();
    EXPECT_EQ(Host::Plugin::Find(own.stem().string().substr(3)), SMALL_PLUGIN);

    setenv("TARSEL_PLUGIN_PATH", "/one::/two:", 1);
    try {
        Host::Plugin::Find("missing");
        ADD_FAILURE() << "nothing thrown";
    } catch (Host::PluginException const& exception) {
        EXPECT_THAT(exception.what(),
                    AllOf(StartsWith("No plug-in \"missing\" was found; looked for /one/libmissing.so, "
                                     "/two/libmissing.so, /"),
                          HasSubstr("/tarsel/libmissing.so (")));
    }
    unsetenv("TARSEL_PLUGIN_PATH");
    std::filesystem::remove_all(folder);
}

} // namespace
