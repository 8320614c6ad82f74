#pragma once

#include "Core/Api.h"
#include "Core/Exception.h"
#include "Proc/Interfaces/IAudioGenerator.h"
#include "Proc/Interfaces/IEffectRegistrar.h"

#include <filesystem>
#include <string>

namespace Tarsel::Host {

/// A plug-in library cannot be used.
class TARSEL_API PluginException : public Exception {
public:
    ~PluginException() noexcept override;
};

/// An open plug-in library. It stays in memory until the process ends: effects and exceptions made by it may
/// outlive this object. Any thread; a plug-in's code runs where it is called.
class TARSEL_API Plugin {
public:
    /// Opens the library; PluginException with the path and the loader's own words when it cannot be opened
    /// or has no `Registrator`.
    explicit Plugin(std::filesystem::path const& library);

    /// Lets the plug-in register its effects; the registrar is used during the call only. Called as often as
    /// there are registries. Exceptions of plug-in and registrar pass, and what was registered before stays.
    void Register(Proc::IEffectRegistrar& registrar) const;

    /// A new generator of audio by the plug-in's `CreateAudioGenerator`, which not every plug-in has: see
    /// Proc::AudioGeneratorCreator. The caller's. PluginException without it; exceptions of
    /// the plug-in pass.
    SP<Proc::IAudioGenerator> CreateAudioGenerator(std::string const& description,
                                                   Conf::SampleInfo const& info) const;

    /// Where the plug-in named `name` ("lumenta") lies: the first that exists of
    /// $TARSEL_PLUGIN_PATH/lib<name>.so (a list of folders separated by ':'), beside libtarsel.so, and
    /// <folder of libtarsel.so>/tarsel/lib<name>.so. PluginException listing the places looked at when there
    /// is none. A name with a folder in it, or that ends in ".so", is a file and given back as it is.
    static std::filesystem::path Find(std::string const& name);

private:
    using RegistratorFunction = bool (*)(Proc::IEffectRegistrar&);
    std::filesystem::path m_library;
    RegistratorFunction m_registrator = nullptr;
    /// Null where the plug-in has none.
    Proc::AudioGeneratorCreator m_createAudioGenerator = nullptr;
};

} // namespace Tarsel::Host
