#pragma once

#include "Proc/Interfaces/IEffectRegistrar.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Tarsel::Host {

/// Which kind of effect a registration makes; the order is that of EffectCreator's alternatives.
enum class EffectKind { Video, Audio, TwoInputVideo, TwoInputAudio };

/// "video", "audio", "two-input video", "two-input audio".
TARSEL_API std::string_view GetName(EffectKind kind) noexcept;

using EffectCreator = std::variant<Proc::VideoEffectCreator, Proc::AudioEffectCreator,
                                   Proc::TwoInputVideoEffectCreator, Proc::TwoInputAudioEffectCreator>;

/// One registration.
struct EffectEntry {
    std::string classId;
    std::string implName;
    EffectCreator creator;

    EffectKind GetKind() const noexcept { return static_cast<EffectKind>(creator.index()); }
};

/// The effects that plug-ins registered, in the order of registration. Filled by one thread, then read by
/// any.
class TARSEL_API EffectRegistry final : public Proc::IEffectRegistrar {
public:
    /// Each registers and returns true; a second registration of the same class, implementation and kind
    /// replaces the creator of the first, keeps its place and returns false. An empty id or name, or a null
    /// creator, throws EffectException naming what is missing.
    bool RegisterAudioEffect(std::string const& classId, std::string const& implName,
                             Proc::AudioEffectCreator creator) override;
    bool RegisterVideoEffect(std::string const& classId, std::string const& implName,
                             Proc::VideoEffectCreator creator) override;
    bool RegisterTwoInputAudioEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputAudioEffectCreator creator) override;
    bool RegisterTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                     Proc::TwoInputVideoEffectCreator creator) override;

    std::vector<EffectEntry> const& GetEntries() const noexcept { return m_entries; }
    /// The entry for class and implementation (ImplNames::DEFAULT: the first registered for the class), of
    /// any kind; null when there is none. Valid until the next registration.
    EffectEntry const* Find(std::string_view classId, std::string_view implName) const noexcept;

private:
    bool Register(std::string const& classId, std::string const& implName, EffectCreator creator);

    std::vector<EffectEntry> m_entries;
};

} // namespace Tarsel::Host
