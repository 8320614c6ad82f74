#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/IFormatCodecVideo.h"
#include "Conf/PixFmt.h"
#include "Core/Progress.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/Graph/GraphStream.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace Tarsel::Proc {

/// The policy of the video effect over settings class S: what sets it apart from the others. Specialised
/// beside its family (Video/); only static members, all free of state:
///
///   using SettingsType = S;
///   static constexpr std::string_view s_settingsName;      the class's name, as statistics tell it
///   static constexpr EffectTraits s_traits;
///   static std::string GetFFString(S const&, Conf::FrameInfo const&);
///       The filter description for frames of that geometry; std::logic_error or EffectException for settings
///       that cannot be expressed.
///
/// and, where the effect needs them:
///
///   static std::string GetQueryFFString(S const&, Conf::FrameInfo const&);
///       GetFFString for a graph that no frame goes through, where building that would leave traces.
///   static bool IsEmpty(S const&);                         frames pass untouched; S::IsEmpty without it
///   static S FromProperty(Core::Property const&);          default settings without it
///   static void CheckFormat(S const&, Conf::PixFmt, Conf::FrameInfo const&);
///       Throws EffectException for frames that the filter must not see; before any graph is built for them.
///   static bool CanSlice(S const&, Conf::PixFmt);
///       Whether frames of that format may be worked on by several threads, where the traits say so at all.
///   static bool KeepsAlpha(S const&);
///       The filter gives a frame of the same size for each at once, and its opacity is not the filter's to
///       change: the alpha that went in is put back.
///   static void CheckFrame(S const&, IDataVideo const&);   the same for what only the pixels tell
///   static void PostProcess(S const&, SP<IDataVideo> const&);
///       Puts right what the graph does not carry; after each call of the graph, the frame may be null.
///   static void PostUpdate(S const&, SP<Conf::IFormatCodecVideo> const&);
///       Puts a format right that only got its pixel format, from the cache.
template <class S>
struct EffectActions;

/// A video effect whose work one filter graph does: everything but what hangs on the settings class. The
/// graph is built by the first frame and again when frames change pixel format or geometry or the graph has
/// failed; other settings and Reset drop it. All operations may be called from any thread; one lock for each
/// effect.
class EffectFafloplalVideo : public Core::RefCounted<IOneInputEffectVideo>,
                             public IEffectStreamVideo,
                             public IEffectDetailsVideo {
public:
    Core::Property GetSettings() const override;
    /// std::bad_cast unless the settings are of exactly the effect's class.
    void SetSettings(Settings const& settings) override;
    using IOneInputEffectVideo::SetSettings;
    void Reset() override;
    void SetProgressController(SP<Core::IProgressController> const& controller) override;
    std::int32_t GetInputFrameType() const override;
    /// Adds "Options", the filter description for the frames the graph was built for, or for an all-zero
    /// geometry before there is a graph. Throws what GetFFString throws.
    Core::Property GetStatistic() const override;
    void Process(SP<IDataVideo>& data) override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

    void Feed(SP<IDataVideo> const& data) override;
    SP<IDataVideo> Take() override;
    void End() override;

    std::string Describe(Conf::IFormatCodecVideo const& format) const override;

protected:
    EffectFafloplalVideo();
    ~EffectFafloplalVideo() override;

    /// Drops the graph and takes the settings, unless they equal the present ones. What a stream holds back
    /// comes out under the old settings.
    void Apply(Settings const& settings);

private:
    virtual std::string_view GetSettingsName() const noexcept = 0;
    virtual void StoreSettings(Settings const& settings) = 0;
    /// The policy's functions on the present settings.
    virtual bool IsEmpty() const = 0;
    virtual std::string GetFFString(Conf::FrameInfo const& info) const = 0;
    virtual std::string GetQueryFFString(Conf::FrameInfo const& info) const = 0;
    virtual void CheckFormat(Conf::PixFmt format, Conf::FrameInfo const& info) const = 0;
    virtual bool CanSlice(Conf::PixFmt format) const = 0;
    virtual bool KeepsAlpha() const = 0;
    virtual void CheckFrame(IDataVideo const& data) const = 0;
    virtual void PostProcess(SP<IDataVideo> const& data) const = 0;
    virtual void PostUpdate(SP<Conf::IFormatCodecVideo> const& format) const = 0;

    bool IsBuiltFor(Conf::PixFmt format, Conf::FrameInfo const& info) const noexcept;
    void Build(Conf::PixFmt format, Conf::FrameInfo const& info);
    void DropGraph() noexcept;
    void FinishStream();
    void Finish(SP<IDataVideo> const& data) const;

    GraphStream m_stream;
    /// The frame that the graph works on, while it does.
    SP<IDataVideo const> m_input;
    SP<Core::ProgressControllerStages> m_stages;
    Conf::PixFmt m_graphFormat = Conf::PixFmt::None;
    Conf::FrameInfo m_graphInfo;
    std::uint64_t m_frames = 0;
    mutable std::recursive_mutex m_lock;
};

/// The effect over the policy `Actions`, an EffectActions<S>.
template <class Actions>
class EffectFafloplal : public EffectFafloplalVideo {
public:
    using SettingsType = typename Actions::SettingsType;

    using EffectFafloplalVideo::SetSettings;
    void SetSettings(SettingsType const& settings) { Apply(settings); }
    void SetSettings(Core::Property const& property) override {
        if constexpr (requires { Actions::FromProperty(property); })
            Apply(Actions::FromProperty(property));
        else
            Apply(SettingsType());
    }
    Settings const& GetSettingsBase() const override { return m_settings; }
    EffectTraits const& GetTraits() const noexcept override { return Actions::s_traits; }

private:
    std::string_view GetSettingsName() const noexcept override { return Actions::s_settingsName; }
    void StoreSettings(Settings const& settings) override {
        // In two steps, the second of which cannot fail.
        m_settings = SettingsType(static_cast<SettingsType const&>(settings));
    }
    bool IsEmpty() const override {
        if constexpr (requires { Actions::IsEmpty(m_settings); })
            return Actions::IsEmpty(m_settings);
        else
            return m_settings.IsEmpty();
    }
    std::string GetFFString(Conf::FrameInfo const& info) const override {
        return Actions::GetFFString(m_settings, info);
    }
    std::string GetQueryFFString(Conf::FrameInfo const& info) const override {
        if constexpr (requires { Actions::GetQueryFFString(m_settings, info); })
            return Actions::GetQueryFFString(m_settings, info);
        else
            return Actions::GetFFString(m_settings, info);
    }
    void CheckFormat([[maybe_unused]] Conf::PixFmt format,
                     [[maybe_unused]] Conf::FrameInfo const& info) const override {
        if constexpr (requires { Actions::CheckFormat(m_settings, format, info); })
            Actions::CheckFormat(m_settings, format, info);
    }
    bool CanSlice([[maybe_unused]] Conf::PixFmt format) const override {
        if constexpr (requires { Actions::CanSlice(m_settings, format); })
            return Actions::CanSlice(m_settings, format);
        else
            return true;
    }
    bool KeepsAlpha() const override {
        if constexpr (requires { Actions::KeepsAlpha(m_settings); })
            return Actions::KeepsAlpha(m_settings);
        else
            return false;
    }
    void CheckFrame([[maybe_unused]] IDataVideo const& data) const override {
        if constexpr (requires { Actions::CheckFrame(m_settings, data); })
            Actions::CheckFrame(m_settings, data);
    }
    void PostProcess([[maybe_unused]] SP<IDataVideo> const& data) const override {
        if constexpr (requires { Actions::PostProcess(m_settings, data); })
            Actions::PostProcess(m_settings, data);
    }
    void PostUpdate([[maybe_unused]] SP<Conf::IFormatCodecVideo> const& format) const override {
        if constexpr (requires { Actions::PostUpdate(m_settings, format); })
            Actions::PostUpdate(m_settings, format);
    }

    SettingsType m_settings;
};

} // namespace Tarsel::Proc
