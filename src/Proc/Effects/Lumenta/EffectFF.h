#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/IFormatCodecVideo.h"
#include "Conf/PixFmt.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/Graph/GraphStream.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Settings/CastSettings.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

namespace Tarsel::Proc {

/// A video effect that writes its filter description when it gets its settings: everything but what hangs on
/// the settings class. The graph is built by the first frame and again when description, pixel format or
/// geometry change or the graph has failed. Process, UpdateFormatCodec, Reset, the stream and the details may
/// be used from any thread, one lock for each effect; settings are not set while another thread uses it.
class EffectVideoFFBase : public Core::RefCounted<IOneInputEffectVideo>,
                          public IEffectStreamVideo,
                          public IEffectDetailsVideo {
public:
    /// An empty property: these settings are no property tree.
    Core::Property GetSettings() const override;
    /// Does nothing.
    void SetSettings(Core::Property const& settings) override;
    using IOneInputEffectVideo::SetSettings;
    /// Drops a stream and what is ready of it. The graph of frames that went through Process stays.
    void Reset() override;
    std::int32_t GetInputFrameType() const override;
    Core::Property GetStatistic() const override;
    void Process(SP<IDataVideo>& data) override;
    /// Asks the graph where it was built for that very format, else one of its own, whose source knows the
    /// frame rate. PropertyException for a format without a frame rate.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;

protected:
    EffectVideoFFBase() = default;
    ~EffectVideoFFBase() override = default;

    /// Adds to the statistics; nothing here.
    virtual void UpdateStatistic(Core::Property& statistic) const;
    /// Writes the filter description for the present settings. What it throws reaches whoever sets them, and
    /// the effect goes on with the ones before.
    virtual void SetSettingsImpl() = 0;

    // What follows is no part of the binary contract: its virtual operations come after those of that.
public:
    void Feed(SP<IDataVideo> const& data) override;
    SP<IDataVideo> Take() override;
    void End() override;

    std::string Describe(Conf::IFormatCodecVideo const& format) const override;
    /// A row that promises nothing; effects give their own.
    EffectTraits const& GetTraits() const noexcept override;

protected:
    /// Takes the settings and their description, unless they equal the present ones. What a stream holds back
    /// comes out under the old ones.
    void Apply(Settings const& settings);

    /// The description for frames of that format: the one SetSettingsImpl wrote, unless it hangs on the
    /// frame.
    virtual std::string GetDescription(Conf::PixFmt format, Conf::FrameInfo const& info) const;
    /// Ends the stream, if any: its rest is ready.
    virtual void FinishStream();

    std::string m_description;
    GraphStream m_stream;
    mutable std::recursive_mutex m_lock;

private:
    /// What a graph is built for.
    struct GraphKey {
        std::string description;
        Conf::PixFmt format;
        Conf::FrameInfo info;
        friend bool operator==(GraphKey const&, GraphKey const&) = default;
    };
    /// What a graph was built by: a question for a format, Process, or Feed. No frame goes through the first,
    /// and a stream starts with a graph of its own.
    enum class GraphUse { Queries, Frames, Stream };

    virtual void StoreSettings(Settings const& settings) = 0;

    bool IsBuiltFor(GraphKey const& key) const noexcept;
    void Build(GraphKey const& key, GraphUse use);

    /// Of the graph; nothing where there is none or it could not be built.
    std::optional<GraphKey> m_builtFor;
    GraphUse m_use = GraphUse::Queries;
    std::uint64_t m_frames = 0;
};

/// The base of the custom video effect over settings class S, which derives from it and writes
/// SetSettingsImpl. `EffectType` is IOneInputEffectVideo.
template <class EffectType, class SettingsType>
class EffectVideoFF : public EffectVideoFFBase {
    static_assert(std::is_same_v<EffectType, IOneInputEffectVideo>);

public:
    using EffectVideoFFBase::SetSettings;
    /// Where all settings come in.
    void SetSettings(SettingsType const& settings) { Apply(settings); }
    /// std::bad_cast when they are of another class.
    void SetSettings(Settings const& settings) override {
        SetSettings(CastSettings<SettingsType>(settings, m_settings));
    }
    Settings const& GetSettingsBase() const override { return m_settings; }

protected:
    SettingsType m_settings;

private:
    void StoreSettings(Settings const& settings) override {
        m_settings = static_cast<SettingsType const&>(settings);
    }
};

} // namespace Tarsel::Proc
