#include "Tools/Tarsel/Verbs/ManPage.h"

#include "Tools/Tarsel/Arguments/ArgumentHints.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace Tarsel::Tools {
namespace {

/// As plain text for roff.
std::string Escape(std::string_view text) {
    std::string escaped;
    bool isLineStart = true;
    for (char const letter : text) {
        if (isLineStart && (letter == '.' || letter == '\''))
            escaped += "\\&";
        if (letter == '\\')
            escaped += "\\e";
        else if (letter == '-')
            escaped += "\\-";
        else
            escaped += letter;
        isLineStart = letter == '\n';
    }
    return escaped;
}

std::string ToUpper(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char letter) { return std::toupper(letter); });
    return text;
}

/// What the end of a help text consists of.
struct Footer {
    std::string prose;
    /// A line each, without the indent.
    std::vector<std::string> codes;
    std::vector<std::string> examples;
};

Footer ReadFooter(std::string const& text) {
    Footer footer;
    std::istringstream lines(text);
    std::vector<std::string>* list = nullptr;
    for (std::string line; std::getline(lines, line);) {
        if (line == "Exit codes:")
            list = &footer.codes;
        else if (line == "Examples:")
            list = &footer.examples;
        else if (!line.starts_with("  ")) {
            list = nullptr;
            footer.prose += line.empty() ? "" : line + '\n';
        } else if (list != nullptr)
            list->push_back(line.substr(2));
    }
    return footer;
}

/// "\fB\-e\fR, \fB\-\-effect\fR \fIEFFECT\fR".
std::string DescribeForms(CLI::Option const& option) {
    if (option.get_positional())
        return "\\fI" + Escape(option.get_name()) + "\\fR";
    std::string forms;
    auto const add = [&](std::string const& name) {
        forms += (forms.empty() ? "" : ", ") + ("\\fB" + Escape(name) + "\\fR");
    };
    for (std::string const& name : option.get_snames())
        add('-' + name);
    for (std::string const& name : option.get_lnames())
        add("--" + name);
    bool const takesValue = option.get_items_expected_max() > 0;
    return forms + (takesValue ? " \\fI" + Escape(option.get_option_text()) + "\\fR" : "");
}

std::string MakeOptions(CLI::App const& app) {
    std::string text;
    for (CLI::Option const* const option : app.get_options())
        text += fmt::format(".TP\n{}\n{}\n", DescribeForms(*option), Escape(option->get_description()));
    return text.empty() ? text : ".SH OPTIONS\n" + text;
}

std::string MakeCodes(std::vector<std::string> const& codes) {
    std::string text;
    for (std::string const& code : codes) {
        std::size_t const from = std::min(code.find_first_not_of(' '), code.size());
        std::size_t const end = std::min(code.find(' ', from), code.size());
        std::string const meaning = code.substr(std::min(code.find_first_not_of(' ', end), code.size()));
        text += fmt::format(".TP\n\\fB{}\\fR\n{}\n", code.substr(from, end - from), Escape(meaning));
    }
    return text.empty() ? text : ".SH EXIT STATUS\n" + text;
}

std::string MakeExamples(std::vector<std::string> const& examples) {
    std::string text;
    for (std::string const& example : examples)
        text += Escape(example) + '\n';
    return text.empty() ? text : ".SH EXAMPLES\n.nf\n" + text + ".fi\n";
}

std::string MakeVerbs(CLI::App const& app) {
    std::string text = ".SH VERBS\n";
    for (CLI::App const* const verb : GetVerbs(app))
        text += fmt::format(".TP\n\\fB{}\\fR\n{}; see\n.BR tarsel\\-{} (1).\n", Escape(verb->get_name()),
                            Escape(verb->get_description()), Escape(verb->get_name()));
    return text;
}

/// "tarsel run [OPTIONS] INPUT OUTPUT".
std::string MakeSynopsis(CLI::App const& app, std::string const& command) {
    std::string usage = CLI::Formatter().make_usage(&app, command);
    CLI::detail::trim(usage);
    std::string_view text = usage;
    if (constexpr std::string_view lead = "Usage: "; text.starts_with(lead))
        text.remove_prefix(lead.size());
    return Escape(text.substr(0, text.find('\n')));
}

/// `verb` is null for the program's own page.
std::string MakePage(CLI::App const& app, CLI::App const* verb, std::string const& date) {
    CLI::App const& shown = verb != nullptr ? *verb : app;
    std::string const name = verb != nullptr ? "tarsel-" + verb->get_name() : "tarsel";
    std::string summary = shown.get_description();
    summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
    if (summary.ends_with('.'))
        summary.pop_back();
    Footer const footer = ReadFooter(shown.get_footer());
    std::string page = fmt::format(".TH {} 1 {} tarsel \"User Commands\"\n", ToUpper(Escape(name)), date);
    page += fmt::format(".SH NAME\n{} \\- {}\n", Escape(name), Escape(summary));
    page += fmt::format(".SH SYNOPSIS\n{}\n",
                        MakeSynopsis(shown, verb != nullptr ? "tarsel " + verb->get_name() : "tarsel"));
    if (!footer.prose.empty())
        page += ".SH DESCRIPTION\n" + Escape(footer.prose);
    if (verb == nullptr)
        page += MakeVerbs(app);
    page += MakeOptions(shown) + MakeCodes(footer.codes) + MakeExamples(footer.examples);
    if (verb != nullptr)
        page += ".SH SEE ALSO\n.BR tarsel (1)\n";
    return page;
}

} // namespace

std::vector<std::pair<std::string, std::string>> MakeManPages(CLI::App const& app, std::string const& date) {
    std::vector<std::pair<std::string, std::string>> pages{{"tarsel.1", MakePage(app, nullptr, date)}};
    for (CLI::App const* const verb : GetVerbs(app))
        pages.emplace_back(fmt::format("tarsel-{}.1", verb->get_name()), MakePage(app, verb, date));
    return pages;
}

} // namespace Tarsel::Tools
