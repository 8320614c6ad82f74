#pragma once

#include "Proc/Effects/Lumenta/Base/FastWay.h"
#include "Proc/Effects/Lumenta/Base/Medium.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <string>

namespace Tarsel::Proc {

/// The policy of the effect on pictures over settings class S: what sets it apart from the others.
/// Specialized in its family's source (Effects/); only static members, all free of state, called under the
/// effect's lock:
///
///   using SettingsType = S;
///   static constexpr EffectTraits s_traits;
///   static std::string GetFFString(S const&, Info const&);
///       The filter description for frames of that geometry, or blocks of that form. std::logic_error or
///       EffectException for settings that cannot be expressed.
///
/// and, where the effect needs them:
///
///   static constexpr bool s_readsProperties;
///       Property trees make the settings; without it, default ones do, whatever the tree.
///   static std::string GetQueryFFString(S const&, Info const&);
///       GetFFString for a graph that no frame goes through, where building that would leave traces.
///   static bool IsEmpty(S const&);                         data pass untouched; S::IsEmpty without it
///   static void CheckFormat(S const&, Format, Info const&);
///       Throws EffectException for data that the filter must not see; before any graph is built for them.
///   static void CheckFrame(S const&, IDataVideo const&);   the same for what only the pixels tell
///   static SP<IDataVideo> Prepare(S const&, SP<IDataVideo> const&);
///       What the graph gets in place of the frame: the same picture, in memory that the filter can use.
///   static bool CanSlice(S const&, Format);
///       Whether frames of that format may be worked on by several threads, where the traits say so at all.
///   static FastWay MakeFastWay(S const&, Conf::PixFmt, Conf::FrameInfo const&);
///       What makes of such frames what the graph does, with nothing held back; none for formats and settings
///       that it does not cover, those that the filter refuses among them. CheckFormat has passed.
///   static bool KeepsAlpha(S const&);
///       The filter gives a frame of the same size for each at once, and its opacity is not the filter's to
///       change: the alpha that went in is put back.
///   static std::int64_t GetWarmUp(S const&, Info const&);
///       Samples of silence that bring a new graph into the state in which it is meant to begin.
///   static void PostProcess(S const&, SP<IDataVideo> const&), or (S const&, SP<IDataAudio>&);
///       Puts right what the graph does not do; after each call of the graph. The frame may be null, a block
///       is not, and may be replaced.
///   static void PostUpdate(S const&, SP<Codec> const&);
///       Puts a format right that only got its pixel or sample format, from the cache.
template <class S>
struct EffectActions;

/// The same of the effect on audio. "" for a description lets blocks pass untouched.
template <class S>
struct EffectActionsAudio;

/// A policy without its settings class; what is null the effect does without.
template <class Medium>
struct GraphActions {
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;
    using Info = typename Medium::Info;

    EffectTraits const* traits;
    std::string (*getText)(Settings const&, Info const&);
    std::string (*getQueryText)(Settings const&, Info const&);
    bool (*isEmpty)(Settings const&);
    void (*checkFormat)(Settings const&, Format, Info const&);
    void (*checkData)(Settings const&, Data const&);
    SP<Data> (*prepare)(Settings const&, SP<Data> const&);
    bool (*canSlice)(Settings const&, Format);
    FastWay (*makeFastWay)(Settings const&, Format, Info const&);
    std::int64_t (*getWarmUp)(Settings const&, Info const&);
    bool (*keepsAlpha)(Settings const&);
    void (*postProcess)(Settings const&, SP<Data>&);
    void (*postUpdate)(Settings const&, SP<typename Medium::Codec> const&);
};

template <class Medium, class Actions>
constexpr GraphActions<Medium> MakeGraphActions() {
    using S = typename Actions::SettingsType;
    using Made = GraphActions<Medium>;
    using Data = typename Made::Data;
    using Format = typename Made::Format;
    using Info = typename Made::Info;
    // Settings are of class S wherever a policy is called.
    Made made{};
    made.traits = &Actions::s_traits;
    made.getText = [](Settings const& settings, Info const& info) {
        return Actions::GetFFString(static_cast<S const&>(settings), info);
    };
    if constexpr (requires { &Actions::GetQueryFFString; })
        made.getQueryText = [](Settings const& settings, Info const& info) {
            return Actions::GetQueryFFString(static_cast<S const&>(settings), info);
        };
    if constexpr (requires { &Actions::IsEmpty; })
        made.isEmpty = [](Settings const& settings) {
            return Actions::IsEmpty(static_cast<S const&>(settings));
        };
    if constexpr (requires { &Actions::CheckFormat; })
        made.checkFormat = [](Settings const& settings, Format format, Info const& info) {
            Actions::CheckFormat(static_cast<S const&>(settings), format, info);
        };
    if constexpr (requires { &Actions::CheckFrame; })
        made.checkData = [](Settings const& settings, Data const& data) {
            Actions::CheckFrame(static_cast<S const&>(settings), data);
        };
    if constexpr (requires { &Actions::Prepare; })
        made.prepare = [](Settings const& settings, SP<Data> const& data) {
            return Actions::Prepare(static_cast<S const&>(settings), data);
        };
    if constexpr (requires { &Actions::CanSlice; })
        made.canSlice = [](Settings const& settings, Format format) {
            return Actions::CanSlice(static_cast<S const&>(settings), format);
        };
    if constexpr (requires { &Actions::MakeFastWay; })
        made.makeFastWay = [](Settings const& settings, Format format, Info const& info) {
            return Actions::MakeFastWay(static_cast<S const&>(settings), format, info);
        };
    if constexpr (requires { &Actions::GetWarmUp; })
        made.getWarmUp = [](Settings const& settings, Info const& info) {
            return Actions::GetWarmUp(static_cast<S const&>(settings), info);
        };
    if constexpr (requires { &Actions::KeepsAlpha; })
        made.keepsAlpha = [](Settings const& settings) {
            return Actions::KeepsAlpha(static_cast<S const&>(settings));
        };
    if constexpr (requires { &Actions::PostProcess; })
        made.postProcess = [](Settings const& settings, SP<Data>& data) {
            Actions::PostProcess(static_cast<S const&>(settings), data);
        };
    if constexpr (requires { &Actions::PostUpdate; })
        made.postUpdate = [](Settings const& settings, SP<typename Medium::Codec> const& format) {
            Actions::PostUpdate(static_cast<S const&>(settings), format);
        };
    return made;
}

} // namespace Tarsel::Proc
