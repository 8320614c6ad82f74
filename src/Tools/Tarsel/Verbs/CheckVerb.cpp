#include "Check/Runner.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/StandardStreams.h"
#include "Tools/Tarsel/Verbs/Verb.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <memory>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

using Check::CheckReport;
using Check::CheckResult;
using Check::Outcome;

struct CheckArguments {
    std::string plugin;
    Check::CheckOptions options;
    bool json = false;
    bool list = false;
};

bool IsFault(CheckResult const& result) {
    return result.outcome != Outcome::Passed && result.outcome != Outcome::Skipped;
}

/// "blur", or the plug-in where a check is of no effect.
std::string NameSubject(CheckResult const& result) {
    return result.classId.empty() ? "plug-in" : result.classId;
}

std::string GetCommand(Check::CheckOptions const& options, CheckResult const& result) {
    std::string const effect = result.classId.empty() ? "" : " --effect " + result.classId;
    return fmt::format("tarsel check {}{} --check {} --level {} --seed {}", options.plugin.string(), effect,
                       result.check->name, options.level, options.seed);
}

std::string DescribeFault(Check::CheckOptions const& options, CheckResult const& result) {
    std::string const with = result.settings.empty() ? "" : "\n  With:   " + result.settings;
    return fmt::format("{}: {} {}: {}{}\n  Rule:   {}\n  Harm:   {}\n  Repeat: {}\n", NameSubject(result),
                       result.check->name, Check::GetName(result.outcome), result.text, with,
                       result.check->rule, result.check->harm, GetCommand(options, result));
}

std::string Summarize(CheckReport const& report, Check::CheckOptions const& options) {
    // In the order of the groups.
    std::map<Check::Group, std::array<std::size_t, 5>> groups;
    for (CheckResult const& result : report.results)
        ++groups[result.check->group][static_cast<std::size_t>(result.outcome)];
    auto const line = [](std::string_view name, auto const& count) {
        return fmt::format("{:14}{:>8}{:>9}{:>8}{:>9}{:>6}\n", name, count(Outcome::Passed),
                           count(Outcome::Skipped), count(Outcome::Failed), count(Outcome::Crashed),
                           count(Outcome::Hung));
    };
    std::string text = fmt::format("{}: {} effects, level {}, seed {}\n", options.plugin.string(),
                                   report.effects.size(), options.level, options.seed);
    text += fmt::format("{:14}{:>8}{:>9}{:>8}{:>9}{:>6}\n", "group", "passed", "skipped", "failed", "crashed",
                        "hung");
    for (auto const& group : groups)
        text += line(Check::GetName(group.first),
                     [&](Outcome outcome) { return group.second[static_cast<std::size_t>(outcome)]; });
    text += line("all", [&](Outcome outcome) { return report.Count(outcome); });
    for (Check::EffectName const& effect : report.effects)
        if (effect.isIdle)
            text += fmt::format("{}: no settings tried change its input; its results say little\n",
                                effect.classId);
    return text;
}

std::string ReportToJson(CheckReport const& report, Check::CheckOptions const& options) {
    Json effects = Json::array();
    for (Check::EffectName const& effect : report.effects)
        effects.push_back({{"id", effect.classId},
                           {"implementation", effect.implName},
                           {"kind", Host::GetName(effect.kind)},
                           {"idle", effect.isIdle}});
    Json results = Json::array();
    for (CheckResult const& result : report.results) {
        Json row{{"check", result.check->name},
                 {"group", Check::GetName(result.check->group)},
                 {"effect", result.classId.empty() ? Json() : Json(result.classId)},
                 {"outcome", Check::GetName(result.outcome)},
                 {"seconds", result.seconds}};
        if (!result.text.empty())
            row["text"] = result.text;
        if (IsFault(result)) {
            row["settings"] = result.settings;
            row["rule"] = result.check->rule;
            row["harm"] = result.check->harm;
            row["repeat"] = GetCommand(options, result);
        }
        results.push_back(std::move(row));
    }
    Json const all{
        {"version", 1},         {"plugin", options.plugin.string()}, {"level", options.level},
        {"seed", options.seed}, {"effects", std::move(effects)},     {"results", std::move(results)}};
    // What a plug-in says may be any bytes.
    return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string ListChecks() {
    std::string text;
    for (Check::CheckInfo const& check : Check::GetChecks())
        text += fmt::format("{:13} {:28} {:>2}  {}\n", Check::GetName(check.group), check.name, check.level,
                            check.rule);
    return text;
}

void RunCheck(CheckArguments const& arguments, Context const& context) {
    if (arguments.list)
        return WriteOutput(ListChecks());
    Check::CheckOptions options = arguments.options;
    // The check "loads" reports what is wrong with a file that exists.
    options.plugin = std::filesystem::absolute(FindPlugin(arguments.plugin));
    options.stop = context.stop;
    std::size_t done = 0;
    CheckReport const report = Check::RunChecks(options, [&](CheckResult const& result) {
        context.console.SetStatus(
            fmt::format("{} checks done: {} {}", ++done, NameSubject(result), result.check->name));
        if (IsFault(result) && !arguments.json)
            context.console.Print(DescribeFault(options, result));
    });
    context.console.SetStatus({});
    if (context.stop.stop_requested())
        Core::Throw<Media::InterruptedException>("The checks were stopped");
    WriteOutput(arguments.json ? ReportToJson(report, options) : Summarize(report, options));
    if (!report.IsGood())
        Core::Throw<Proc::EffectException>(fmt::format(
            "{} of {} checks failed", std::ranges::count_if(report.results, IsFault), report.results.size()));
}

} // namespace

Verb AddCheckVerb(CLI::App& app, CommonOptions& common) {
    CLI::App* const command =
        app.add_subcommand("check", "Check a plug-in against the contract with hosts")->group("Verbs");
    auto const arguments = std::make_shared<CheckArguments>();
    command->add_option("PLUGIN", arguments->plugin, "The plug-in: a file, or a name such as lumenta")
        ->option_text(" ");
    command->add_option("--effect", arguments->options.effects, "Check this effect; may be repeated")
        ->option_text("ID");
    command->add_option("--check", arguments->options.checks, "Run this check; may be repeated")
        ->option_text("NAME");
    command->add_option("--level", arguments->options.level, "1 (quick) to 10 (thorough); default 5")
        ->option_text("LEVEL");
    command->add_option("--seed", arguments->options.seed, "Seed of random values; default 1")
        ->option_text("N");
    command->add_option("--limit", arguments->options.limit, "Time limit of a check in seconds; default 30")
        ->check(CLI::PositiveNumber)
        ->option_text("SECONDS");
    command->add_flag("--list", arguments->list, "List the checks");
    command->add_flag("--json", arguments->json, "Print JSON for programs");
    common.AddTo(*command);
    command->footer("Each check runs in a process of its own: a crash is a finding.\n\n" +
                    DescribeExitCodes() +
                    "\nExamples:\n"
                    "  tarsel check ./libexample.so\n"
                    "  tarsel check lumenta --effect blur --level 10\n"
                    "  tarsel check ./libexample.so --json | jq '.results[] | select(.harm)'");
    return {command, [arguments](Context const& context) { RunCheck(*arguments, context); }};
}

} // namespace Tarsel::Tools
