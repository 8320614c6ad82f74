#pragma once

#include "Check/RandomSettings.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/LibraryEffects.h"

#include <fmt/format.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <utility>

/// What programs for libFuzzer have in common: what the bytes of an input say, and how a fault is told.
namespace Tarsel::Fuzz {

/// Standard error as it was at the start: programs under test may close it.
inline int const s_console = dup(STDERR_FILENO);

/// A fault: tells it and ends the process, which keeps the input.
template <class... Arguments>
void Require(bool holds, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    if (holds)
        return;
    std::string const what = fmt::format(text, std::forward<Arguments>(arguments)...);
    dprintf(s_console, "fault: %s\n", what.c_str());
    std::abort();
}

/// Whether `work` gives a result rather than an error that says what is wrong. Whatever else it throws ends
/// the process.
template <class E = std::exception, class Work>
bool Succeeds(Work const& work) {
    try {
        work();
    } catch (E const& refusal) {
        Require(refusal.what() != nullptr && *refusal.what() != '\0', "an exception says nothing");
        return false;
    }
    return true;
}

/// An input, read piece by piece; after its end come numbers that only look random, the same each time. Also
/// a generator of random numbers.
class Draws {
public:
    using result_type = std::uint32_t;
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

    Draws(std::uint8_t const* data, std::size_t size) : m_data(data, size) {}

    bool IsEmpty() { return m_data.remaining_bytes() == 0; }
    result_type operator()() {
        return IsEmpty() ? static_cast<result_type>(m_afterwards()) : m_data.ConsumeIntegral<result_type>();
    }
    /// 0 to count - 1; of few bytes where the count is small.
    std::uint32_t Below(std::uint32_t count) {
        return IsEmpty() ? (*this)() % count : m_data.ConsumeIntegralInRange(0U, count - 1);
    }
    std::uint32_t Between(std::uint32_t least, std::uint32_t most) { return least + Below(most - least + 1); }
    bool OneIn(std::uint32_t count) { return Below(count) == 0; }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }
    /// Any number: infinite ones, those that are none, tiny and whole ones too.
    double Real() {
        return std::bit_cast<double>(std::uint64_t{(*this)()} << 32 | (OneIn(2) ? (*this)() : 0));
    }
    template <class List>
    auto const& Pick(List const& list) {
        return list[Below(static_cast<std::uint32_t>(std::size(list)))];
    }
    std::string Text(std::size_t most = 64) { return m_data.ConsumeRandomLengthString(most); }
    std::string Rest() { return m_data.ConsumeRemainingBytesAsString(); }

    /// Legal settings of the class of `from`; near its defaults every other time.
    std::unique_ptr<Proc::Settings> DrawSettings(Proc::Settings const& from,
                                                 Check::RandomTexts texts = Check::RandomTexts::Plain) {
        auto const reach = OneIn(2) ? Check::RandomReach::Near : Check::RandomReach::Legal;
        return Check::RandomSettings<Draws&>(*this, texts, reach).Draw(from);
    }

private:
    FuzzedDataProvider m_data;
    std::mt19937 m_afterwards;
};

} // namespace Tarsel::Fuzz

/// Defines what libFuzzer calls: the body of a function that gets `draws`.
#define TARSEL_FUZZ(draws)                                                                                   \
    static void FuzzOne(Tarsel::Fuzz::Draws draws);                                                          \
    extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {                      \
        FuzzOne({data, size});                                                                               \
        return 0;                                                                                            \
    }                                                                                                        \
    static void FuzzOne([[maybe_unused]] Tarsel::Fuzz::Draws draws)
