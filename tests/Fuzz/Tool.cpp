// Command lines made of what the tool itself offers: each ends with a documented exit code, and leaves
// nothing behind where it fails.

#include "Fuzz/Fuzz.h"
#include "Fuzz/Limits.h"
#include "Support/TempFolder.h"
#include "Tools/Tarsel/Console/ExitCodes.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

/// The tool's main function.
int TarselMain(int argc, char* argv[]);

namespace Tarsel::Fuzz {
namespace {

using Words = std::vector<std::string>;

int Call(Words words) {
    words.insert(words.begin(), "tarsel");
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    int const code = TarselMain(static_cast<int>(words.size()), argv.data());
    // Which the tool ignores when its work is done.
    for (int const signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
        (void)std::signal(signal, SIG_DFL);
    return code;
}

/// What may stand in place of the last word.
Words Complete(Words const& words) {
    Test::TempFolder const folder;
    int const kept = dup(STDOUT_FILENO);
    int const file = open((folder / "out").c_str(), O_CREAT | O_WRONLY, 0600);
    (void)dup2(file, STDOUT_FILENO);
    close(file);
    Words call{"complete", "--"};
    call.insert(call.end(), words.begin(), words.end());
    Require(Call(call) == 0, "the tool completes nothing");
    (void)dup2(kept, STDOUT_FILENO);
    close(kept);
    Words found;
    std::istringstream lines(Test::ReadFile(folder / "out"));
    for (std::string line; std::getline(lines, line);)
        found.push_back(line.substr(0, line.find('\t')));
    return found;
}

/// A verb and what may follow it.
struct VerbWords {
    std::string verb;
    Words words;
};

/// All verbs but "check", which starts processes by the thousand.
std::vector<VerbWords> ListVerbs() {
    std::vector<VerbWords> verbs;
    for (std::string const& verb : Complete({""}))
        if (verb != "check")
            verbs.push_back({verb, Complete({verb, "--"})});
    return verbs;
}

/// "-e" steps with their keys, as they are offered.
Words ListSteps() {
    Words steps;
    for (std::string const& effect : Complete({"run", "-e", ""})) {
        steps.push_back(effect);
        for (std::string const& step : Complete({"run", "-e", effect + ' '})) {
            Words const values = Complete({"run", "-e", step});
            steps.insert(steps.end(), values.begin(), values.end());
        }
    }
    return steps;
}

std::set<std::string> ListCodes() {
    std::set<std::string> codes;
    std::istringstream lines(Tools::DescribeExitCodes());
    for (std::string line; std::getline(lines, line);)
        codes.insert(std::istringstream(line) >> line ? line : "");
    return codes;
}

class Session {
public:
    Session() {
        SetLimits();
        for (auto const& entry : std::filesystem::directory_iterator(TARSEL_FUZZ_FILES))
            m_files.emplace_back(entry.path().filename(), Test::ReadFile(entry.path()));
        std::ranges::sort(m_files);
        std::filesystem::current_path(m_folder.GetPath());
    }

    void Run(Draws& draws) {
        Restore();
        VerbWords const& verb = draws.Pick(m_verbs);
        Words words{verb.verb};
        if (draws.OneIn(2)) { // a call that may well work
            words.push_back(draws.Pick(m_files).first);
            words.insert(words.begin() + 1 + draws.Below(2), "out." + draws.Pick(m_extensions));
        }
        for (std::uint32_t count = draws.Below(10); count > 0; --count)
            words.push_back(DrawWord(draws, verb));
        Words const before = m_folder.List();
        int const code = Call(words);
        Require(m_codes.contains(std::to_string(code)), "exit code {}", code);
        Require(code == 0 || m_folder.List() == before, "{} left something behind", fmt::join(words, " "));
    }

private:
    std::string DrawWord(Draws& draws, VerbWords const& verb) const {
        switch (draws.Below(9)) {
        case 0:
        case 1:
            return draws.Pick(verb.words);
        case 2:
            return draws.Pick(m_files).first;
        case 3:
            return "out." + draws.Pick(m_extensions);
        case 4:
            return "-e";
        case 5: {
            std::string step = draws.Pick(m_steps);
            return step + (step.ends_with('=') ? std::to_string(draws.Below(100)) : "");
        }
        case 6:
            return draws.Pick(m_encoders);
        case 7:
            return std::to_string(draws.Below(1000) / (draws.OneIn(2) ? 1.0 : 100.0));
        default: {
            std::string text = draws.Text(12);
            std::erase(text, '\0');
            return text;
        }
        }
    }

    /// Files as they were at first, and no others.
    void Restore() {
        for (std::string const& name : m_folder.List())
            std::filesystem::remove_all(m_folder / name);
        for (auto const& [name, content] : m_files)
            Test::WriteFile(m_folder / name, content);
    }

    Test::TempFolder m_folder;
    std::vector<std::pair<std::string, std::string>> m_files;
    std::vector<VerbWords> m_verbs = ListVerbs();
    Words m_steps = ListSteps();
    Words m_encoders = Complete({"run", "--video-codec", ""});
    Words m_extensions = ListExtensions();
    std::set<std::string> m_codes = ListCodes();
};

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    static Tarsel::Fuzz::Session s_session;
    s_session.Run(draws);
}
