#pragma once

#include "Proc/Effects/Lumenta/Base/EffectBase.h"
#include "Proc/Interfaces/IOwnWork.h"

#include <mutex>
#include <string>
#include <utility>

namespace Tarsel::Proc {

/// A video effect that makes one frame of each by itself, without a filter graph: all of it but the pixels.
/// `Interface` is IOneInputEffectVideo or one derived from it, S the settings class. Its statistics add
/// "Options", what Describe said of the last frame that was worked on; "" before there is one.
template <class Interface, class S>
class PictureEffect : public EffectBase<StreamShell<Interface>, S>, public IOwnWork {
public:
    /// A null, and with empty settings any frame, stays as it is.
    void Process(SP<IDataVideo>& data) override {
        std::lock_guard const lock(this->m_lock);
        if (!data || this->IsEmpty())
            return;
        data = MakeResult(data);
        this->Count();
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        std::lock_guard const lock(this->m_lock);
        if (!this->IsEmpty())
            UpdateFormat(*format);
    }

protected:
    ~PictureEffect() override = default;

    S const& GetOptions() const noexcept { return this->m_settings; }
    /// What the work on the present frame is, for the statistics.
    void SetDescription(std::string description) { m_description = std::move(description); }

    void AddStatistics(Core::Property& property) const override {
        property.SetChildT("Options", m_description);
    }

private:
    // Both are called under the lock, with settings that are not empty.

    /// The result, or `data` itself.
    virtual SP<IDataVideo> MakeResult(SP<IDataVideo> const& data) = 0;
    virtual void UpdateFormat(Conf::IFormatCodecVideo& format) const = 0;

    void Work(SP<IDataVideo> const& data) final {
        SP<IDataVideo> result = data;
        Process(result);
        this->m_stream.Pass(std::move(result));
    }

    std::string m_description;
};

} // namespace Tarsel::Proc
