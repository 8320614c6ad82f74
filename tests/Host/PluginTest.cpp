#include "Host/Plugin.h"

#include "Host/Doubles.h"
#include "Host/EffectFactory.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Settings/Settings.h"
#include "Support/Failure.h"
#include "Support/TempFolder.h"

#include <dlfcn.h>
#include <glog/logging.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace Tarsel;
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

} // namespace
