#pragma once

#include "Host/AudioChain.h"
#include "Host/VideoChain.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"
#include "Support/FunctionStream.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

/// Small effects for the tests of the host: what they do to a datum is a function of the test.
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
    Proc::SettingsTable const& GetClassTable() const override {
        static constexpr Proc::SettingsTable s_none{};
        return s_none;
    }

private:
    std::string m_classId;
};

/// Has settings of that class id and does nothing with them.
template <class Interface>
class EffectAs : public Core::RefCounted<Interface> {
public:
    explicit EffectAs(std::string classId) : m_settings(std::move(classId)) {}

    Core::Property GetSettings() const override { return Core::Property(); }
    void SetSettings(Core::Property const&) override {}
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const&) override {}
    void Reset() override {}
    std::int32_t GetInputFrameType() const override {
        return std::is_base_of_v<Proc::IOneInputEffectAudio, Interface> ? 2 : 1;
    }

private:
    NamedSettings m_settings;
};

/// Passes data through.
template <class Medium>
struct EffectOf : EffectAs<typename Medium::Effect> {
    using EffectAs<typename Medium::Effect>::EffectAs;
    void Process(SP<typename Medium::Data>&) override {}
    void UpdateFormatCodec(SP<typename Medium::Format>&) override {}
};

template <class Medium>
using DataOf = Tarsel::Test::Queue<typename Medium::Data>;
template <class Medium>
using WorkOf = Tarsel::Test::StreamWork<typename Medium::Data>;

/// Work as Process gives it: at most one datum for one datum, the rest for nulls; then it wants a reset.
template <class Medium>
class ProcessEffectOf : public EffectOf<Medium> {
public:
    ProcessEffectOf(std::string classId, WorkOf<Medium> work)
        : EffectOf<Medium>(std::move(classId)), m_work(std::move(work)) {}

    void Reset() override {
        m_ended = false;
        m_ready.clear();
    }
    void Process(SP<typename Medium::Data>& data) override {
        if (data && m_ended)
            throw std::logic_error("fed after the end without a reset");
        if (!m_ended)
            m_work(data, m_ready);
        m_ended = !data;
        data = Tarsel::Test::TakeFirst(m_ready);
    }

private:
    WorkOf<Medium> m_work;
    DataOf<Medium> m_ready;
    bool m_ended = false;
};

/// The same work as a stream; a call of Process is a fault.
template <class Medium>
class StreamEffectOf : public EffectOf<Medium>, public Tarsel::Test::FunctionStream<typename Medium::Data> {
public:
    StreamEffectOf(std::string classId, WorkOf<Medium> work)
        : EffectOf<Medium>(std::move(classId)), Tarsel::Test::FunctionStream<typename Medium::Data>(
                                                    std::move(work)) {}

    void Process(SP<typename Medium::Data>&) override { throw std::logic_error("driven by Process"); }
};

struct Effect : EffectOf<Host::VideoMedium> {
    using EffectOf::EffectOf;
};
using Frames = DataOf<Host::VideoMedium>;
using Work = WorkOf<Host::VideoMedium>;
using ProcessEffect = ProcessEffectOf<Host::VideoMedium>;
using StreamEffect = StreamEffectOf<Host::VideoMedium>;

} // namespace Tarsel::HostTest
