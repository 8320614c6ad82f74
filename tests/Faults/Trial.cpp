#include "Faults/Trial.h"

#include "Core/CoreExceptions.h"
#include "Faults/Journal.h"
#include "Faults/Sums.h"
#include "Host/ErrorReport.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Child.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <set>
#include <thread>
#include <tuple>
#include <unistd.h>

extern "C" {
#include <libavutil/error.h>
}

namespace Tarsel::Test {
namespace {

constexpr unsigned s_patience = 30;

/// What the work throws, if anything.
template <class Work>
std::exception_ptr Catch(Work const& work) {
    try {
        work();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

/// The exception as a text; "" where it says that memory ran out.
std::string GetComplaint(std::exception_ptr const& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (std::bad_alloc const&) {
        return {};
    } catch (Core::MemoryException const&) {
        return {};
    } catch (std::exception const& exception) {
        int const* const error = boost::get_error_info<Proc::TagFFmpegError>(exception);
        auto const* const code = boost::get_error_info<Proc::TagTranscodingErrorCode>(exception);
        bool const saysSo = (error != nullptr && *error == AVERROR(ENOMEM)) ||
                            (code != nullptr && *code == Proc::TranscodingErrors::NotEnoughMemory);
        return saysSo ? std::string() : Host::DescribeErrorFully(exception);
    } catch (...) {
        return "no std::exception";
    }
}

/// What came of the work; of much the hash.
std::string GetResult(Round const& round) {
    constexpr std::size_t most = 60;
    std::string const text = round.show();
    return "got " + (text.size() > most ? std::to_string(std::hash<std::string>()(text)) : text);
}

/// The work once more, on a thread of its own: a lock that is still held shows.
std::string DoAgain(Round const& round) {
    std::string result;
    std::thread([&] {
        std::exception_ptr const failure = Catch([&] {
            round.prepare();
            round.work();
            result = GetResult(round);
        });
        if (failure)
            result = "threw " + GetComplaint(failure);
    }).join();
    return result;
}

class Trial {
public:
    Trial(Operation const& operation, Journal& journal) : m_operation(operation), m_journal(journal) {
        for (int i = 0; i < 3; ++i) { // what is kept for good is there then
            Round const round = m_operation.begin();
            round.prepare();
            Arm(0, Form::Once);
            round.work();
            m_count = Disarm();
            std::string const result = GetResult(round);
            m_isSame = result == m_first;
            m_first = result;
            m_again = DoAgain(round);
        }
    }

    std::int64_t GetCount() const noexcept { return m_count; }

    /// Whether an allocation of that number came.
    bool Fail(std::int64_t number, Form form) {
        m_journal.form = form;
        m_journal.number = number;
        std::size_t const entries = m_journal.count;
        std::int64_t const before = CountBlocks();
        bool const hasFailed = Do(number, form);
        if (CountBlocks() == before || m_journal.count != entries)
            return hasFailed;
        // Once more, and again: now all is there that stays on purpose.
        for (int left = 2; left > 0; --left) {
            std::int64_t const after = CountBlocks();
            StartTrace();
            (void)Do(number, form);
            Stack const& leak = StopTrace();
            std::int64_t const blocks = CountBlocks() - after;
            if (blocks == 0 || IsOfThread(leak))
                break;
            if (left == 1)
                m_journal.Add(Event::Leak, (std::to_string(blocks) + " blocks").c_str(), leak);
        }
        m_journal.count = std::min(m_journal.count, entries + 1);
        return hasFailed;
    }

private:
    bool Do(std::int64_t number, Form form) {
        alarm(s_patience);
        bool hasFailed = false;
        {
            Round const round = m_operation.begin();
            round.prepare();
            Arm(number, form);
            std::exception_ptr failure = Catch(round.work);
            Disarm();
            hasFailed = GetFailed().depth > 0;
            if (hasFailed)
                Judge(round, failure);
        }
        alarm(0);
        return hasFailed;
    }

    void Judge(Round const& round, std::exception_ptr failure) {
        ++m_journal.failures;
        std::size_t const entries = m_journal.count;
        if (failure) {
            if (std::string const complaint = GetComplaint(failure); !complaint.empty())
                m_journal.Add(Event::Vague, complaint.c_str(), {});
        } else if (std::string const result = GetResult(round); m_isSame && result != m_first) {
            m_journal.Add(Event::Different, (result + ", due: " + m_first).c_str(), {});
        }
        failure = nullptr;
        std::string const again = DoAgain(round);
        if (m_journal.count != entries)
            return; // it keeps what went wrong
        if (m_isSame ? again != m_first && again != m_again : again.starts_with("threw"))
            m_journal.Add(Event::Unusable, (again + ", due: " + m_again).c_str(), {});
    }

    Operation const& m_operation;
    Journal& m_journal;
    std::int64_t m_count = 0;
    /// Whether the work makes the same of the same.
    bool m_isSame = false;
    std::string m_first;
    std::string m_again;
};

/// The operations from the one that the journal names, and after the place that it names.
void TryFrom(std::vector<Operation> const& operations, Journal& journal) {
    WriteSignalsTo(journal);
    for (; journal.operation < operations.size(); ++journal.operation) {
        Trial trial(operations[journal.operation], journal);
        std::vector<std::int64_t> const numbers = ChooseNumbers(trial.GetCount());
        for (Form const form : {Form::Once, Form::FromThenOn}) {
            for (std::int64_t const number : numbers) {
                bool const isDone = form == journal.form ? number <= journal.number : form < journal.form;
                if (!isDone && !trial.Fail(number, form))
                    break;
            }
        }
        journal.form = Form::Once;
        journal.number = 0;
    }
}

} // namespace

Operation MakeOperation(std::string name, std::function<std::string()> work) {
    return {std::move(name), [work = std::move(work)] {
                auto const result = std::make_shared<std::string>();
                return Round{[] {}, [result, work] { *result = work(); }, [result] { return *result; }};
            }};
}

std::vector<std::int64_t> ChooseNumbers(std::int64_t count) {
    constexpr std::int64_t most = 16;
    // Results of earlier failures are kept here and there: a few more may come.
    std::int64_t const last = count + 8;
    bool const isFull = std::getenv("LUMENTA_TEST_FULL") != nullptr;
    std::set<std::int64_t> numbers;
    std::int64_t const parts = isFull ? last : std::min(most, last);
    for (std::int64_t i = 1; i <= parts; ++i)
        numbers.insert(i * last / parts);
    numbers.insert(1);
    return {numbers.begin(), numbers.end()};
}

void TryEverywhere(std::vector<Operation> const& operations) {
    static int s_descriptor = -1;
    static Journal& s_journal = MakeJournal(s_descriptor);
    s_journal = {};
    Sums::Get().operations += static_cast<std::int64_t>(operations.size());
    while (s_journal.operation < operations.size()) {
        auto const before = std::tuple(s_journal.operation, s_journal.form, s_journal.number);
        Check::ChildEnd const end = RunChild([&] {
            std::string text = "done";
            std::exception_ptr const failure = Catch([&] { TryFrom(operations, s_journal); });
            return failure ? "threw " + GetComplaint(failure) : text;
        });
        for (std::size_t i = 0; i < s_journal.count; ++i)
            Sums::Get().Add(s_journal.entries[i], operations[s_journal.entries[i].operation].name);
        s_journal.count = 0;
        if (end.text == "done")
            break;
        if (std::tuple(s_journal.operation, s_journal.form, s_journal.number) == before) {
            ADD_FAILURE() << operations[s_journal.operation].name << " cannot be done: " << end.text;
            ++s_journal.operation;
        }
    }
    Sums::Get().failures += s_journal.failures;
}

} // namespace Tarsel::Test
