#pragma once

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/EffectFafloplal.h"
#include "Proc/Settings/Orientation.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Test {

/// A policy with every hook. It notes which were called, and each can be told to throw.
struct ProbeActions {
    using SettingsType = Proc::SettingsEffectTranspose;
    static constexpr Proc::EffectTraits s_traits{.summary = "probe", .slices = true};

    /// The description; "%" stands for the settings' step.
    inline static std::string s_text;
    inline static std::string s_throwing;
    inline static std::vector<std::string> s_calls;

    static void Prepare(std::string const& text) {
        s_text = text;
        s_throwing.clear();
        s_calls.clear();
    }
    static void Note(std::string const& hook) {
        s_calls.push_back(hook);
        if (hook == s_throwing)
            Core::Throw<std::logic_error>({"Lumenta/Probe", "hook"}, hook);
    }

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        Note("GetFFString");
        std::string text = s_text;
        if (auto const place = text.find('%'); place != std::string::npos)
            text.replace(place, 1, std::to_string(settings.step));
        return text;
    }
    static bool IsEmpty(SettingsType const& settings) { return settings.step == 0; }
    static void CheckFormat(SettingsType const&, Conf::PixFmt, Conf::FrameInfo const&) {
        Note("CheckFormat");
    }
    static void CheckFrame(SettingsType const&, Proc::IDataVideo const&) { Note("CheckFrame"); }
    static void PostProcess(SettingsType const& settings, SP<Proc::IDataVideo> const& data) {
        Note(data ? "PostProcess" : "PostProcess of null");
        if (data)
            data->GetAVFrame()->opaque = reinterpret_cast<void*>(static_cast<std::intptr_t>(settings.step));
    }
    static void PostUpdate(SettingsType const&, SP<Conf::IFormatCodecVideo> const&) { Note("PostUpdate"); }
};

using Probe = Proc::EffectFafloplal<ProbeActions>;

} // namespace Tarsel::Test
