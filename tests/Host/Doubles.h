#pragma once

#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Settings/Settings.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

/// Small effects for the tests of the host: what they do to a frame is a function of the test.
namespace Tarsel::HostTest {

/// A tiny picture, known by its time.
inline SP<Proc::IDataVideo> MakeFrame(std::int64_t time) {
    auto const frame =
        MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, Conf::PixFmt::GRAY8, Conf::FrameInfo{2, 2, 1, 1});
    frame->SetTime(time);
    return frame;
}

/// Settings that are nothing but a class id.
class NamedSettings : public Proc::Settings {
public:
    explicit NamedSettings(std::string classId) : m_classId(std::move(classId)) {}
    std::string const& GetClassId() const override { return m_classId; }
    std::unique_ptr<Settings> Clone() const override { return std::make_unique<NamedSettings>(*this); }
    bool IsEqualTo(Settings const& other) const override { return other.GetClassId() == m_classId; }
    bool IsEmpty() const override { return false; }
    void Deserialize(std::string const&) override {}
    std::span<Proc::Field const> GetFields() const override { return {}; }

private:
    std::string m_classId;
};

/// Passes frames through.
class Effect : public Core::RefCounted<Proc::IOneInputEffectVideo> {
public:
    explicit Effect(std::string classId) : m_settings(std::move(classId)) {}

    Core::Property GetSettings() const override { return Core::Property(); }
    void SetSettings(Core::Property const&) override {}
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const&) override {}
    void Reset() override {}
    std::int32_t GetInputFrameType() const override { return 1; }
    void Process(SP<Proc::IDataVideo>&) override {}
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

private:
    NamedSettings m_settings;
};

using Frames = std::deque<SP<Proc::IDataVideo>>;
/// Takes a frame, or null at the end of the stream, and puts what is ready into the second argument. What is
/// held back stays with the function until it has seen the end.
using Work = std::function<void(SP<Proc::IDataVideo> const&, Frames&)>;

/// Work as Process gives it: at most one frame for one frame, the rest for nulls; then it wants a reset.
class ProcessEffect : public Effect {
public:
    ProcessEffect(std::string classId, Work work) : Effect(std::move(classId)), m_work(std::move(work)) {}

    void Reset() override {
        m_ended = false;
        m_ready.clear();
    }
    void Process(SP<Proc::IDataVideo>& data) override {
        if (data && m_ended)
            throw std::logic_error("fed after the end without a reset");
        if (!m_ended)
            m_work(data, m_ready);
        m_ended = !data;
        data.reset();
        if (!m_ready.empty()) {
            data = m_ready.front();
            m_ready.pop_front();
        }
    }

private:
    Work m_work;
    Frames m_ready;
    bool m_ended = false;
};

/// The same work as a stream; a call of Process is a fault.
class StreamEffect : public Effect, public Proc::IEffectStreamVideo {
public:
    StreamEffect(std::string classId, Work work) : Effect(std::move(classId)), m_work(std::move(work)) {}

    void Process(SP<Proc::IDataVideo>&) override { throw std::logic_error("driven by Process"); }
    void Feed(SP<Proc::IDataVideo> const& frame) override { m_work(frame, m_ready); }
    SP<Proc::IDataVideo> Take() override {
        if (m_ready.empty())
            return {};
        SP<Proc::IDataVideo> const frame = m_ready.front();
        m_ready.pop_front();
        return frame;
    }
    void End() override { m_work({}, m_ready); }

private:
    Work m_work;
    Frames m_ready;
};

} // namespace Tarsel::HostTest
