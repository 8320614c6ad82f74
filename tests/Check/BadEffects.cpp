#include "Core/RefCount.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SettingsProperty.h"

#include "Check/BadEffects.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <deque>
#include <fcntl.h>
#include <limits>
#include <random>
#include <thread>
#include <typeinfo>
#include <unistd.h>
#include <vector>

/// A plug-in of one effect that is right, and many that each do one thing wrong.
namespace Tarsel::Test {
namespace {

using Proc::IDataVideo;
using Proc::SettingsEffectFlip;

constexpr std::int64_t s_never = std::numeric_limits<std::int64_t>::min();
/// Of all effects of a class together, as careless ones have it.
int s_calls = 0;
std::atomic<std::int64_t> s_scratch = 0;
thread_local int s_made = 0;

/// Turns each bit where its settings say "vertical", every other one where they say "horizontal".
template <Fault fault>
class Effect final : public Core::RefCounted<Proc::IOneInputEffectVideo>,
                     public Proc::IEffectStreamVideo,
                     public Proc::IEffectDetailsVideo {
public:
    Effect() {
        if constexpr (fault == Fault::LeaksItself)
            m_leak = new char[10000];
        if constexpr (fault == Fault::StaysInItsThread)
            s_made = 1;
    }
    ~Effect() override {
        if constexpr (fault == Fault::AllocatesWhenDropped)
            m_ready.resize(100);
    }

    Core::Property GetSettings() const override { return Proc::Settings2Property(m_settings); }
    void SetSettings(Core::Property const& tree) override {
        if constexpr (fault == Fault::TrustsTrees)
            m_settings.vertical = tree.FindChild("vertical")->GetType() == Core::PropertyTypes::Bool;
        else
            Proc::WriteFieldsFromProperty(m_settings, tree);
    }
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        if constexpr (fault == Fault::TakesAnySettings)
            if (dynamic_cast<SettingsEffectFlip const*>(&settings) == nullptr)
                return;
        if constexpr (fault == Fault::RefusalForgetsTheStream)
            m_ready.clear();
        bool const wasHorizontal = m_settings.horizontal;
        m_settings = dynamic_cast<SettingsEffectFlip const&>(settings);
        if constexpr (fault == Fault::ForgetsASetting)
            m_settings.horizontal = wasHorizontal;
    }
    void Reset() override {
        if constexpr (fault == Fault::ResetKeepsResults)
            return;
        if constexpr (fault == Fault::ResetForgetsSettings)
            m_settings = {};
        m_ready.clear();
        m_held.reset();
        m_count = 0;
        if constexpr (fault != Fault::KeepsFrames)
            m_last.reset();
    }
    std::int32_t GetInputFrameType() const override {
        return fault == Fault::TellsAnotherMedium ? AudioFrames : VideoFrames;
    }
    Proc::EffectTraits const& GetTraits() const noexcept override {
        static Proc::EffectTraits const s_traits{.summary = fault == Fault::HasNoSummary ? "" : "turns bits",
                                                 .frameIndependent = fault != Fault::LooksFurtherBack,
                                                 .looksBack = 1,
                                                 .looksAhead = 0};
        return s_traits;
    }
    std::string Describe(Conf::IFormatCodecVideo const&) const override { return "own work"; }

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        if constexpr (fault == Fault::LiesAboutFormat)
            format->SetPixelFormat(Conf::PixFmt::RGBA);
        if constexpr (fault == Fault::AnswersDifferently)
            format->InitByPixelAspect(static_cast<std::uint32_t>(++m_questions), 2, 1, 1);
        if constexpr (fault == Fault::AnswersOnlyTheFormatItKnows)
            if (m_time != s_never)
                format->SetPixelFormat(Conf::PixFmt::GRAY8);
        if constexpr (fault == Fault::AsksAndForgets)
            m_ready.clear();
    }

    void Process(SP<IDataVideo>& data) override {
        if constexpr (fault == Fault::MakesSomethingOfNothing)
            if (!data)
                data = m_last;
        if (!data || IsNeutral())
            return;
        data = Work(data);
    }

    void Feed(SP<IDataVideo> const& data) override {
        SP<IDataVideo> const result = IsNeutral() ? data : Work(data);
        m_isFed = true;
        if constexpr (fault == Fault::KeepsOneResult)
            m_ready.clear();
        if constexpr (fault == Fault::LosesTheLast || fault == Fault::LosesAtAChange) {
            if (m_held &&
                (fault == Fault::LosesTheLast || m_held->GetPixelFormat() == result->GetPixelFormat()))
                m_ready.push_back(m_held);
            m_held = result;
        } else {
            m_ready.push_back(result);
        }
    }
    SP<IDataVideo> Take() override {
        if (m_ready.empty())
            return {};
        SP<IDataVideo> const data = m_ready.front();
        m_ready.pop_front();
        return data;
    }
    void End() override {
        if constexpr (fault == Fault::EndsOnlyStreams)
            *static_cast<volatile bool*>(m_isFed ? &m_isFed : nullptr) = false;
        if (fault == Fault::LosesAtAChange && m_held)
            m_ready.push_back(m_held);
        m_held.reset();
        if constexpr (fault != Fault::RemembersTheStreamBefore)
            m_count = 0;
        if constexpr (fault != Fault::KeepsFrames)
            m_last.reset();
    }

private:
    bool IsNeutral() const { return fault != Fault::WorksThoughNeutral && m_settings.IsEmpty(); }

    SP<IDataVideo> Work(SP<IDataVideo> const& data) {
        Refuse(*data);
        Spoil(*data);
        SP<IDataVideo> const result = fault == Fault::ChangesItsInput ? data : data->Copy();
        std::uint8_t turned = GetMask(*data);
        if constexpr (fault == Fault::SharesAScratch) {
            std::int64_t const number = data->GetTime() / 40000; // others are at other frames
            s_scratch = turned ^ number;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            turned = static_cast<std::uint8_t>(s_scratch ^ number);
        }
        for (int i = 0; i < CountPlanes(*data); ++i)
            Turn(*data, result->GetWritablePlane(i), i, turned);
        SetTimes(*data, *result);
        if constexpr (fault == Fault::WritesToResultsGivenAway)
            if (m_last)
                *m_last->GetWritablePlane(0).data ^= 1;
        m_last = fault == Fault::WritesToResultsGivenAway ? result : data;
        ++m_count;
        return result;
    }

    /// What it does not take: a picture without memory, and more where that is its fault.
    void Refuse(IDataVideo const& data) {
        if constexpr (fault == Fault::ThrowsWhatNobodyCatches)
            if (data.GetFrameInfo().width % 2 != 0)
                throw 7;
        if constexpr (fault == Fault::StaysBroken)
            if (m_isBroken)
                Core::Throw<Proc::EffectException>("It is broken");
        m_isBroken = true; // until the frame turns out well
        if constexpr (fault == Fault::StaysInItsThread)
            if (s_made == 0)
                Core::Throw<Proc::EffectException>("It knows nothing of this thread");
        if constexpr (fault == Fault::EndsTheProcess)
            if (data.GetPixelFormat() == Conf::PixFmt::GRAY8)
                std::_Exit(0);
        if constexpr (fault == Fault::Hangs)
            while (data.GetTime() < m_time)
                closefrom(STDERR_FILENO + 1); // what others listen to as well
        m_time = data.GetTime();
        // Past the accessors, which refuse planes without memory.
        if constexpr (fault == Fault::TrustsFrames)
            m_sum += *data.GetAVFrame()->data[0];
        if (fault != Fault::TrustsFrames && CountPlanes(data) == 0)
            Core::Throw<Proc::EffectException>("The frame has no planes");
        for (int i = 0; i < CountPlanes(data); ++i) {
            Proc::ReadOnlyPlane const plane = data.GetReadOnlyPlane(i);
            if (fault != Fault::TrustsFrames && (plane.data == nullptr || plane.lineSize == 0))
                Core::Throw<Proc::EffectException>("The frame has no memory");
        }
        m_isBroken = false;
    }

    /// What it does beside its work.
    void Spoil(IDataVideo const& data) {
        if constexpr (fault == Fault::LeaksMemory)
            std::fill_n(m_leak = new char[20000], 20000, 'x');
        if constexpr (fault == Fault::LeaksHandles)
            (void)open("/dev/null", O_RDONLY | O_CLOEXEC);
        if constexpr (fault == Fault::SetsTheLocale)
            (void)std::setlocale(LC_NUMERIC, "C.UTF-8");
        if constexpr (fault == Fault::LeavesThreads)
            std::thread([] { std::this_thread::sleep_for(std::chrono::hours(1)); }).detach();
        Proc::ReadOnlyPlane const plane = data.GetReadOnlyPlane(0);
        auto const last = static_cast<std::ptrdiff_t>(plane.rows - 1) * plane.lineSize;
        if constexpr (fault == Fault::WritesPastRows)
            if (plane.lineSize != static_cast<std::ptrdiff_t>(plane.rowBytes))
                const_cast<std::uint8_t*>(plane.data)[plane.rowBytes] = 1;
        if constexpr (fault == Fault::BorrowsTheCallersMemory) {
            auto* const byte = const_cast<std::uint8_t volatile*>(plane.data);
            std::uint8_t const before = *byte;
            *byte = 1;
            *byte = before;
        }
        if constexpr (fault == Fault::ReadsPastTheEnd)
            for (int i = 0; i < 64; ++i)
                m_sum += plane.data[last + static_cast<std::ptrdiff_t>(plane.rowBytes) + i];
    }

    /// The bits to turn, which the frame and the settings alone should determine.
    std::uint8_t GetMask(IDataVideo const&) {
        std::uint8_t const mask = m_settings.vertical ? 0xFF : 0x55;
        if constexpr (fault == Fault::IsRandom)
            return static_cast<std::uint8_t>(std::random_device()() | 1U);
        if constexpr (fault == Fault::RemembersTheStreamBefore || fault == Fault::DependsOnFramesBefore ||
                      fault == Fault::LooksFurtherBack)
            return static_cast<std::uint8_t>(mask ^ (m_count << 1));
        if constexpr (fault == Fault::SharesItsState)
            return static_cast<std::uint8_t>(mask ^ (m_count == 0 ? s_calls = 0 : ++s_calls));
        return mask;
    }

    static void Turn(IDataVideo const& from, Proc::WritablePlane const& to, int index, std::uint8_t mask) {
        Proc::ReadOnlyPlane const source = from.GetReadOnlyPlane(index);
        bool const isAlpha = index == 3;
        for (std::uint32_t row = 0; row < to.rows; ++row) {
            std::ptrdiff_t const lineSize =
                fault == Fault::KnowsNoNegativeStrides ? std::abs(source.lineSize) : source.lineSize;
            std::uint8_t const* const in = source.data + static_cast<std::ptrdiff_t>(row) * lineSize;
            std::uint8_t* const out = to.data + static_cast<std::ptrdiff_t>(row) * to.lineSize;
            for (std::size_t x = 0; x < to.rowBytes; ++x)
                out[x] = isAlpha ? fault == Fault::LosesAlpha ? 0xFF : in[x]
                                 : static_cast<std::uint8_t>(in[x] ^ mask);
        }
    }

    void SetTimes(IDataVideo const& from, IDataVideo& to) {
        to.SetTime(fault == Fault::MakesUpTimes && from.GetTime() == s_never ? 0
                   : fault == Fault::RoundsTimes                             ? from.GetTime() / 40000 * 40000
                   : fault == Fault::LosesTheTimes                           ? -m_count
                                                                             : from.GetTime());
        to.SetDuration(fault == Fault::LosesDurations ? 0 : from.GetDuration());
    }

    static int CountPlanes(IDataVideo const& data) {
        int count = 0;
        try {
            for (; count < 4; ++count)
                (void)data.GetReadOnlyPlane(count);
        } catch (Proc::ProcException const&) { // no such plane
        }
        return count;
    }

    SettingsEffectFlip m_settings;
    std::deque<SP<IDataVideo>> m_ready;
    SP<IDataVideo> m_held;
    SP<IDataVideo> m_last;
    int m_count = 0;
    int m_questions = 0;
    std::int64_t m_time = s_never;
    bool m_isBroken = false;
    bool m_isFed = false;
    char* m_leak = nullptr;
    unsigned m_sum = 0;
};

template <Fault fault>
SP<Proc::IOneInputEffectVideo> Create(SP<Proc::IEffectFactory const> const&,
                                      SP<Proc::IFactoryDataVideo const> const&) {
    SP<Proc::IOneInputEffectVideo> effect = MakeSP<Effect<fault>>();
    if constexpr (fault == Fault::KeepsAReference)
        effect->AddRef();
    return effect;
}

template <std::size_t... numbers>
bool RegisterAll(Proc::IEffectRegistrar& registrar, std::index_sequence<numbers...>) {
    return (registrar.RegisterVideoEffect(s_faults[numbers].classId, "test",
                                          Create<static_cast<Fault>(numbers)>) &&
            ...);
}

} // namespace
} // namespace Tarsel::Test

extern "C" __attribute__((visibility("default"))) bool
Registrator(Tarsel::Proc::IEffectRegistrar& registrar) {
    using namespace Tarsel::Test;
    return RegisterAll(registrar, std::make_index_sequence<std::size(s_faults)>());
}
