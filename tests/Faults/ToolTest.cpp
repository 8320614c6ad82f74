#include "Faults/Sums.h"
#include "Faults/Trial.h"
#include "Support/Child.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace Tarsel::Test {
namespace {

/// The program itself, from its beginning on.
class ToolFaults : public testing::TestWithParam<char const*> {
protected:
    ToolFaults() {
        RunFFmpeg("-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i sine=d=0.2:r=48000 -c:v rawvideo -c:a "
                  "pcm_s16le " +
                  std::string(m_folder / "in.mkv"));
        m_arguments = SplitWords(std::string(TARSEL_PROGRAM " ") + GetParam());
        for (std::string& word : m_arguments)
            if (word == "IN")
                word = m_folder / "in.mkv";
        m_arguments.emplace_back("--plugin=" TARSEL_PLUGIN);
    }

    /// Runs it while that allocation fails; what it said on standard error.
    std::string Run(std::int64_t number, Form form) {
        m_journal = {};
        m_journal.form = form;
        m_journal.number = number;
        std::string const errors = m_folder / "errors";
        (void)RunChild([&] {
            (void)dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            (void)setenv("FAULTS_JOURNAL", std::to_string(m_descriptor).c_str(), 1);
            (void)setenv("LD_PRELOAD", TEST_PRELOAD, 1);
            std::vector<char*> arguments;
            for (std::string& argument : m_arguments)
                arguments.push_back(argument.data());
            arguments.push_back(nullptr);
            (void)execv(arguments[0], arguments.data());
            return std::string("no such program");
        });
        return ReadFile(errors);
    }

    int m_descriptor = -1;
    Journal& m_journal = MakeJournal(m_descriptor);
    std::vector<std::string> m_arguments;
    TempFolder m_folder;
};

TEST_P(ToolFaults, TellThatMemoryRanOut) {
    ASSERT_EQ(Run(0, Form::Once), "");
    std::vector<std::int64_t> const numbers = ChooseNumbers(m_journal.number);
    ++Sums::Get().operations;
    for (Form const form : {Form::Once, Form::FromThenOn})
        for (std::int64_t const number : numbers) {
            std::string const errors = Run(number, form);
            if (m_journal.count == 0)
                continue; // there were not so many
            ++Sums::Get().failures;
            Entry const& entry = m_journal.entries[0];
            std::string const text = entry.text.data();
            bool const isReported = entry.event == Event::Vague && text == "exit code 3";
            if (isReported) {
                EXPECT_TRUE(errors.starts_with("tarsel: error: ")) << number << ": " << errors;
            } else if (text != "exit code 0") {
                Sums::Get().Add(entry, std::string("tarsel ") + GetParam() + ": " + errors);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Verbs, ToolFaults,
                         testing::Values("run IN out.mkv -e negate -e reverb --video-codec ffv1",
                                         "list --json", "meter IN"));

} // namespace
} // namespace Tarsel::Test
