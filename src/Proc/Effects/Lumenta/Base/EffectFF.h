#pragma once

#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Core/Property.h"
#include "Proc/Effects/Lumenta/Base/EffectBase.h"
#include "Proc/Effects/Lumenta/Base/ICustomEffectVideo.h"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace Tarsel::Proc {

/// A video effect that writes its filter description when it gets its settings, but for these. The graph is
/// built by the first frame and again when description, pixel format or geometry change or the graph has
/// failed. Settings are set without the lock, so not while another thread uses the effect; and whether they
/// are empty, Process asks before it takes the lock.
class EffectVideoFFBase : public StreamShell<ICustomEffectVideo> {
public:
    /// An empty property: these settings are no property tree.
    Core::Property GetSettings() const override;
    void Process(SP<IDataVideo>& data) override;
    /// Asks the graph where it was built for that very format, else one of its own, whose source knows the
    /// frame rate. PropertyException for a format without a frame rate.
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override;
    /// A row that promises nothing; effects give their own.
    EffectTraits const& GetTraits() const noexcept override;

protected:
    EffectVideoFFBase() = default;
    ~EffectVideoFFBase() override = default;

    void UpdateStatistic(Core::Property&) const override {}
    void Apply(Settings const& settings) override;
    void Work(SP<IDataVideo> const& data) override;
    /// Drops a stream. The graph of frames that went through Process stays.
    void Forget() noexcept override;
    void LogSettings() const;

    /// The description for frames of that format: the one SetSettingsImpl wrote, unless it depends on the
    /// frame.
    virtual std::string GetDescription(Conf::PixFmt format, Conf::FrameInfo const& info) const;

    std::string m_description;

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
    enum class GraphUse : std::uint8_t { Queries, Frames, Stream };

    std::string DescribeWork(Conf::IFormatCodecVideo const& format) const override;
    std::string GetStatisticName() const override;
    void AddStatistics(Core::Property& property) const override { UpdateStatistic(property); }

    bool IsBuiltFor(GraphKey const& key) const noexcept;
    void Build(GraphKey const& key, GraphUse use);

    /// Of the graph; nothing where there is none or it could not be built.
    std::optional<GraphKey> m_builtFor;
    GraphUse m_use = GraphUse::Queries;
};

/// The base of the custom video effect over settings class S, which derives from it and writes
/// SetSettingsImpl. `EffectType` is IOneInputEffectVideo.
template <class EffectType, class SettingsType>
class EffectVideoFF : public EffectBase<EffectVideoFFBase, SettingsType> {
    static_assert(std::is_same_v<EffectType, IOneInputEffectVideo>);

public:
    using EffectBase<EffectVideoFFBase, SettingsType>::SetSettings;
    /// Does nothing.
    void SetSettings(Core::Property const&) override {}

private:
    void Store(Settings const& settings) override {
        SettingsType other = static_cast<SettingsType const&>(settings);
        std::string description = this->m_description;
        std::swap(this->m_settings, other);
        try {
            this->SetSettingsImpl();
        } catch (...) {
            std::swap(this->m_settings, other);
            this->m_description.swap(description);
            throw;
        }
        this->LogSettings();
    }
};

} // namespace Tarsel::Proc
