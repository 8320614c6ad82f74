#include "Check/Check.h"

#include <algorithm>
#include <iterator>

namespace Tarsel::Check {

std::string_view GetName(Group group) noexcept {
    switch (group) {
    case Group::Loading:
        return "loading";
    case Group::Registration:
        return "registration";
    case Group::Settings:
        return "settings";
    case Group::Formats:
        return "formats";
    case Group::Frames:
        return "frames";
    case Group::Streams:
        return "streams";
    case Group::Times:
        return "times";
    case Group::Traits:
        return "traits";
    case Group::Memory:
        return "memory";
    case Group::State:
        return "state";
    case Group::Threads:
        return "threads";
    case Group::Resources:
        return "resources";
    }
    return "unknown";
}

std::span<CheckInfo const> GetChecks() {
    static std::vector<CheckInfo> const s_checks = [] {
        std::vector<CheckInfo> all;
        for (auto const& checks :
             {GetLoadingChecks(), GetRegistrationChecks(), GetSettingsChecks(), GetFormatChecks(),
              GetFrameChecks(), GetStreamChecks(), GetTimeChecks(), GetTraitChecks(), GetMemoryChecks(),
              GetStateChecks(), GetThreadChecks(), GetResourceChecks()})
            all.insert(all.end(), checks.begin(), checks.end());
        return all;
    }();
    return s_checks;
}

CheckInfo const* FindCheck(std::string_view name) {
    auto const checks = GetChecks();
    auto const found = std::ranges::find(checks, name, &CheckInfo::name);
    return found == checks.end() ? nullptr : &*found;
}

} // namespace Tarsel::Check
