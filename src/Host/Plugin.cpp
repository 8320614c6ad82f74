#include "Host/Plugin.h"

#include "Core/CoreExceptions.h"
#include "Core/Files.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Tarsel::Host {

namespace {

constexpr char const* s_entryPoint = "Registrator";
constexpr char const* s_generatorEntryPoint = "CreateAudioGenerator";
constexpr char const* s_pathVariable = "TARSEL_PLUGIN_PATH";

/// What the loader says of the last failure of this thread.
std::string TakeLoaderError() {
    char const* const text = dlerror();
    return text != nullptr ? text : "unknown error";
}

/// The loader has words for want of memory, and no number.
bool TellsOfMemory(std::string const& text) {
    bool const isOfThreads = text.find("static TLS block") != std::string::npos; // of which there is little
    return !isOfThreads && (text.find("cannot create") != std::string::npos ||
                            text.find("cannot allocate") != std::string::npos);
}

/// The folder of the library that this code is part of.
std::filesystem::path GetOwnFolder() {
    Dl_info info{};
    if (dladdr(&s_entryPoint, &info) == 0 || info.dli_fname == nullptr)
        return ".";
    return std::filesystem::absolute(info.dli_fname).parent_path();
}

std::vector<std::filesystem::path> GetPluginFolders() {
    std::vector<std::filesystem::path> folders;
    char const* const variable = std::getenv(s_pathVariable);
    for (std::string_view rest = variable != nullptr ? variable : ""; !rest.empty();) {
        std::size_t const end = std::min(rest.find(':'), rest.size());
        if (end > 0)
            folders.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    std::filesystem::path const own = GetOwnFolder();
    folders.push_back(own);
    folders.push_back(own / "tarsel");
    return folders;
}

/// The loader tells in words alone that it got no memory.
[[noreturn]] void ThrowCannotOpen(Core::Site const& site, std::filesystem::path const& library,
                                  std::string const& error) {
    std::string const text = fmt::format("Cannot open plug-in \"{}\": {}", library.string(), error);
    for (std::string const& words : {std::generic_category().message(ENOMEM), std::string("out of memory")})
        if (error.find(words) != std::string::npos)
            Core::Throw<PluginException>(
                site, text, Proc::TagTranscodingErrorCode(Proc::TranscodingErrors::NotEnoughMemory));
    Core::Throw<PluginException>(site, text);
}

} // namespace

PluginException::~PluginException() noexcept = default;

Plugin::Plugin(std::filesystem::path const& library) : m_library(library) {
    constexpr Core::Site site{"Host/Plugin", "Tarsel::Host::Plugin::Plugin(const std::filesystem::path &)"};
    // A name without a folder means the file in the current one, not one that the loader searches for.
    void* const handle = dlopen(std::filesystem::absolute(library).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::string const text = TakeLoaderError();
        if (TellsOfMemory(text))
            Core::Throw<Core::MemoryException>(site, "Unable to allocate memory for a plug-in: " + text);
        ThrowCannotOpen(site, library, text);
    }
    // The handle is never closed: see the class.
    m_registrator = reinterpret_cast<RegistratorFunction>(dlsym(handle, s_entryPoint));
    if (m_registrator == nullptr)
        Core::Throw<PluginException>(
            site, fmt::format("\"{}\" is not a plug-in: {}", library.string(), TakeLoaderError()));
    m_createAudioGenerator =
        reinterpret_cast<Proc::AudioGeneratorCreator>(dlsym(handle, s_generatorEntryPoint));
}

void Plugin::Register(Proc::IEffectRegistrar& registrar) const {
    // The result tells of the last registration only and carries no meaning.
    (void)m_registrator(registrar);
}

SP<Proc::IAudioGenerator> Plugin::CreateAudioGenerator(std::string const& description,
                                                       Conf::SampleInfo const& info) const {
    if (m_createAudioGenerator == nullptr)
        Core::Throw<PluginException>(fmt::format("The plug-in \"{}\" generates no audio: it exports no {}",
                                                 m_library.string(), s_generatorEntryPoint));
    SP<Proc::IAudioGenerator> generator;
    m_createAudioGenerator(generator, description, info);
    return generator;
}

std::filesystem::path Plugin::Find(std::string const& name) {
    if (name.find('/') != std::string::npos || name.ends_with(".so"))
        return name;
    std::vector<std::filesystem::path> candidates = GetPluginFolders();
    for (std::filesystem::path& candidate : candidates) {
        candidate /= "lib" + name + ".so";
        if (Core::FileExists(candidate))
            return candidate;
    }
    std::string const list =
        Core::Utils::ToString(candidates, ", ", [](auto const& path) { return path.string(); });
    std::string const hint =
        Core::FileExists(name) ? fmt::format("; for the file, write \"./{}\"", name) : "";
    Core::Throw<PluginException>(
        fmt::format("There is no plug-in \"{}\": looked for {} (to add folders, set {}){}", name, list,
                    s_pathVariable, hint));
}

} // namespace Tarsel::Host
