#include "Check/Check.h"
#include "Check/ElfExports.h"
#include "Check/ProcessState.h"
#include "Host/EffectRegistry.h"
#include "Host/Plugin.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarsel::Check {
namespace {

using Host::EffectRegistry;
using Host::Plugin;

std::vector<std::string> ListEntries(EffectRegistry const& registry) {
    std::vector<std::string> list;
    for (Host::EffectEntry const& entry : registry.GetEntries())
        list.push_back(entry.classId + '/' + entry.implName);
    return list;
}

void* Open(std::filesystem::path const& library) {
    void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    Expect(handle != nullptr, "it cannot be loaded: {}", handle == nullptr ? dlerror() : "");
    return handle;
}

auto* FindRegistrator(void* library) {
    auto* const registrator =
        reinterpret_cast<bool (*)(Proc::IEffectRegistrar&)>(dlsym(library, "Registrator"));
    Expect(registrator != nullptr, "there is no function \"Registrator\"");
    return registrator;
}

/// Records registrations, and throws at one of them.
class RecordingRegistrar final : public Proc::IEffectRegistrar {
public:
    struct Stop {};

    explicit RecordingRegistrar(std::size_t passed = SIZE_MAX) : m_passed(passed) {}

    std::vector<std::string> const& GetNames() const noexcept { return m_names; }

    bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                             Proc::AudioEffectCreator) override {
        return Add(classId, implName);
    }
    bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                             Proc::VideoEffectCreator) override {
        return Add(classId, implName);
    }
    bool RegisterTwoInputAudioEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputAudioEffectCreator) override {
        return Add(classId, implName);
    }
    bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputVideoEffectCreator) override {
        return Add(classId, implName);
    }

private:
    bool Add(std::string const& classId, std::string const& implName) {
        if (m_names.size() == m_passed)
            throw Stop();
        m_names.push_back(classId + '/' + implName);
        return true;
    }

    std::size_t m_passed;
    std::vector<std::string> m_names;
};

void CheckExports(std::filesystem::path const& library) {
    for (std::string const& name : ReadExports(library)) {
        for (std::string_view const prefix :
             {"av_", "avcodec_", "avfilter_", "avformat_", "sws_", "swr_", "_ZN6Tarsel"})
            Expect(!name.starts_with(prefix) || name.starts_with("_ZN6Tarsel4Proc"),
                   "it exports \"{}\", a name of its host or of FFmpeg", name);
        for (std::string_view const own : {"malloc", "calloc", "realloc", "free", "_Znwm", "_ZdlPv", "main"})
            Expect(name != own, "it exports \"{}\", which replaces the one of the process", name);
    }
}

constexpr std::array s_loadingChecks{
    CheckInfo{"loads", Group::Loading, "The library loads with all its symbols resolved at once.",
              "The host crashes in the middle of a video because a function is missing.", 1,
              [](std::filesystem::path const& library) { (void)Open(library); }},
    CheckInfo{"registers", Group::Loading,
              "It exports Registrator, which registers effects and returns true.",
              "Without it the host gets nothing from the library.", 1,
              [](std::filesystem::path const& library) {
                  auto* const registrator = FindRegistrator(Open(library));
                  EffectRegistry registry;
                  Expect(registrator(registry), "Registrator returns false");
                  Expect(!registry.GetEntries().empty(), "no effect is registered");
              }},
    CheckInfo{"registers-again", Group::Loading, "Each call of Registrator registers the same effects.",
              "A host with two registries, or one that reloads plug-ins, misses effects.", 1,
              [](std::filesystem::path const& library) {
                  Plugin const plugin(library);
                  std::array<EffectRegistry, 3> registries;
                  for (EffectRegistry& registry : registries)
                      plugin.Register(registry);
                  for (EffectRegistry const& registry : registries)
                      Expect(ListEntries(registry) == ListEntries(registries[0]),
                             "{} effects the first time, {} later", registries[0].GetEntries().size(),
                             registry.GetEntries().size());
              }},
    CheckInfo{"registers-each-once", Group::Loading, "No effect is registered twice.",
              "The order of registrations decides which of the two a host gets.", 1,
              [](std::filesystem::path const& library) {
                  RecordingRegistrar registrar;
                  (void)FindRegistrator(Open(library))(registrar);
                  std::vector<std::string> names = registrar.GetNames();
                  std::ranges::sort(names);
                  auto const twice = std::ranges::adjacent_find(names);
                  Expect(twice == names.end(), "\"{}\" is registered twice",
                         twice == names.end() ? "" : *twice);
              }},
    CheckInfo{"refused-registration", Group::Loading, "Registrator passes on an exception of the registrar.",
              "A host that refuses an effect does not learn that effects are missing, or crashes.", 4,
              [](std::filesystem::path const& library) {
                  auto* const registrator = FindRegistrator(Open(library));
                  RecordingRegistrar all;
                  (void)registrator(all);
                  for (std::size_t passed = 0; passed < all.GetNames().size(); ++passed) {
                      RecordingRegistrar failing(passed);
                      bool isTold = false;
                      try {
                          (void)registrator(failing);
                      } catch (RecordingRegistrar::Stop const&) {
                          isTold = true;
                      }
                      Expect(isTold, "it swallows the exception of registration {}", passed + 1);
                  }
              }},
    CheckInfo{"exports-little", Group::Loading, "It exports no name of FFmpeg, the host or the C library.",
              "Such a name replaces the host's own, and calls go to the wrong function.", 2, CheckExports},
    CheckInfo{"loads-quietly", Group::Loading,
              "Loading and registering start no thread and leave the process as it is.",
              "Locale, folder, signal handlers and rounding belong to the host, which misreads numbers or "
              "loses an interrupt.",
              2,
              [](std::filesystem::path const& library) {
                  auto const before = DescribeProcess();
                  std::size_t const threads = CountThreads();
                  EffectRegistry registry;
                  Plugin(library).Register(registry);
                  ExpectSame(DescribeProcess(), before, "the process");
                  Expect(CountThreads() == threads, "{} threads instead of {}", CountThreads(), threads);
              }},
    CheckInfo{"closes", Group::Loading, "After dlclose the process works on and ends normally.",
              "A host that closes plug-ins it does not need crashes when it ends.", 3,
              [](std::filesystem::path const& library) {
                  pid_t const process = fork();
                  if (process == 0) {
                      (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
                      try {
                          for (int i = 0; i < 3; ++i) {
                              void* const handle = Open(library);
                              EffectRegistry registry;
                              (void)FindRegistrator(handle)(registry);
                              if (dlclose(handle) != 0)
                                  std::_Exit(EXIT_FAILURE);
                          }
                      } catch (...) {
                          std::_Exit(EXIT_FAILURE);
                      }
                      std::exit(EXIT_SUCCESS);
                  }
                  Expect(process > 0, "no process is to be had");
                  int status = 0;
                  (void)waitpid(process, &status, 0);
                  Expect(!WIFSIGNALED(status), "the process ends by signal {}", WTERMSIG(status));
                  Expect(WEXITSTATUS(status) == EXIT_SUCCESS, "it cannot be closed");
              }},
};

} // namespace

std::span<CheckInfo const> GetLoadingChecks() {
    return s_loadingChecks;
}

} // namespace Tarsel::Check
