#include "Host/EffectRegistry.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>

namespace Tarsel::Host {

std::string_view GetName(EffectKind kind) noexcept {
    switch (kind) {
    case EffectKind::Video:
        return "video";
    case EffectKind::Audio:
        return "audio";
    case EffectKind::TwoInputVideo:
        return "two-input video";
    case EffectKind::TwoInputAudio:
        return "two-input audio";
    }
    return "unknown";
}

bool EffectRegistry::RegisterAudioEffect(std::string const& classId, std::string const& implName,
                                         Proc::AudioEffectCreator creator) {
    return Register(classId, implName, creator);
}

bool EffectRegistry::RegisterVideoEffect(std::string const& classId, std::string const& implName,
                                         Proc::VideoEffectCreator creator) {
    return Register(classId, implName, creator);
}

bool EffectRegistry::RegisterTwoInputAudioEffect(std::string const& classId, std::string const& implName,
                                                 Proc::TwoInputAudioEffectCreator creator) {
    return Register(classId, implName, creator);
}

bool EffectRegistry::RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                                 Proc::TwoInputVideoEffectCreator creator) {
    return Register(classId, implName, creator);
}

EffectEntry const* EffectRegistry::Find(std::string_view classId, std::string_view implName) const noexcept {
    auto const found = std::ranges::find_if(m_entries, [&](EffectEntry const& entry) {
        return entry.classId == classId &&
               (implName == Proc::ImplNames::DEFAULT || entry.implName == implName);
    });
    return found != m_entries.end() ? &*found : nullptr;
}

bool EffectRegistry::Register(std::string const& classId, std::string const& implName,
                              EffectCreator creator) {
    char const* const missing = classId.empty()    ? "class id"
                                : implName.empty() ? "implementation name"
                                : std::visit([](auto function) { return function == nullptr; }, creator)
                                    ? "creator"
                                    : nullptr;
    if (missing != nullptr)
        Core::Throw<Proc::EffectException>(
            fmt::format("Cannot register an effect without {}: class id \"{}\", implementation \"{}\"",
                        missing, classId, implName));

    auto const same = std::ranges::find_if(m_entries, [&](EffectEntry const& entry) {
        return entry.classId == classId && entry.implName == implName &&
               entry.creator.index() == creator.index();
    });
    if (same != m_entries.end()) {
        same->creator = creator;
        return false;
    }
    m_entries.push_back({classId, implName, creator});
    return true;
}

} // namespace Tarsel::Host
