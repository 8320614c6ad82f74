#include "Check/Runner.h"

#include "Check/Child.h"
#include "Core/NearNames.h"
#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Host/ErrorReport.h"
#include "Host/Plugin.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <algorithm>
#include <deque>
#include <list>
#include <poll.h>
#include <tuple>

namespace Tarsel::Check {
namespace {

// What children report: a letter for the outcome, and a text.
constexpr char s_passed = 'p';
constexpr char s_skipped = 's';
constexpr char s_failed = 'f';
/// Between the parts of a text.
constexpr char s_separator = '\x1f';

/// Runs `work` and reports how it ended.
std::string Say(std::function<std::string()> const& work) {
    try {
        return s_passed + work();
    } catch (Finding const& finding) {
        return s_failed + std::string(finding.what());
    } catch (Skipped const& reason) {
        return s_skipped + std::string(reason.what());
    } catch (std::exception const& failure) {
        return s_failed + ("exception: " + Host::DescribeError(failure));
    } catch (...) {
        return s_failed + std::string("it throws something that is no std::exception");
    }
}

std::vector<std::string> Split(std::string const& text) {
    std::vector<std::string> parts;
    for (std::size_t from = 0; from < text.size();) {
        std::size_t const to = std::min(text.find(s_separator, from), text.size());
        parts.push_back(text.substr(from, to - from));
        from = to + 1;
    }
    return parts;
}

/// Of the process in which it is called.
SP<Host::EffectFactory const> Load(std::filesystem::path const& library) {
    auto registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(library).Register(*registry);
    return MakeSP<Host::EffectFactory>(registry);
}

/// Calls `work` with a subject of the effect's own medium.
template <class Work>
std::string WithSubject(CheckOptions const& options, EffectName const& name, Preparation const& preparation,
                        Work const& work) {
    SP<Host::EffectFactory const> const factory = Load(options.plugin);
    Host::EffectEntry const* const entry = factory->GetRegistry().Find(name.classId, name.implName);
    Expect(entry != nullptr, "the effect is no longer registered");
    if (name.kind == Host::EffectKind::Audio) {
        Subject<Audio> subject(factory, *entry, preparation, options.seed, options.level);
        return work(subject);
    }
    Subject<Video> subject(factory, *entry, preparation, options.seed, options.level);
    return work(subject);
}

std::string ListEffects(std::filesystem::path const& library) {
    SP<Host::EffectFactory const> const factory = Load(library);
    std::string text;
    for (Host::EffectEntry const& entry : factory->GetRegistry().GetEntries())
        text += entry.classId + s_separator + entry.implName + s_separator +
                std::to_string(static_cast<int>(entry.GetKind())) + s_separator;
    return text;
}

std::string Prepare(CheckOptions const& options, EffectName const& name) {
    return WithSubject(options, name, {}, [](auto& subject) {
        Preparation const made = subject.Prepare();
        return std::to_string(made.form) + s_separator + std::to_string(int{made.isIdle}) + s_separator +
               made.settings;
    });
}

std::string RunCheck(CheckOptions const& options, EffectName const& name, Preparation const& preparation,
                     CheckInfo const& check) {
    if (check.group != Group::Threads)
        Core::ThreadBudget::Set(1); // checks run beside one another as it is
    return WithSubject(options, name, preparation, [&](auto& subject) {
        if constexpr (std::is_same_v<decltype(subject), Subject<Audio>&>)
            check.audio(subject);
        else
            check.video(subject);
        return std::string();
    });
}

Outcome GetOutcome(ChildEnd const& end) {
    if (end.kind == ChildEnd::Kind::Hung)
        return Outcome::Hung;
    if (end.kind == ChildEnd::Kind::Died || end.text.empty())
        return Outcome::Crashed;
    return end.text[0] == s_passed    ? Outcome::Passed
           : end.text[0] == s_skipped ? Outcome::Skipped
                                      : Outcome::Failed;
}

std::string GetText(ChildEnd const& end, double limit) {
    if (end.kind == ChildEnd::Kind::Hung)
        return fmt::format("not finished after {:g} s", limit);
    if (end.kind == ChildEnd::Kind::Died)
        return "the process ended by " + end.text;
    return end.text.empty() ? "the plug-in ended the process" : end.text.substr(1);
}

/// Something to do in a process of its own, and what to do with its end.
struct Task {
    std::function<std::string()> work;
    std::function<void(ChildEnd const&)> finish;
};

/// Does the tasks, those that `finish` adds too.
class Pool {
public:
    Pool(double limit, std::stop_token stop) : m_limit(limit), m_stop(std::move(stop)) {}

    void Add(Task task) { m_waiting.push_back(std::move(task)); }

    void Run() {
        std::size_t const most = static_cast<std::size_t>(Core::ThreadBudget::Get());
        while ((!m_waiting.empty() || !m_running.empty()) && !m_stop.stop_requested()) {
            for (; !m_waiting.empty() && m_running.size() < most; m_waiting.pop_front()) {
                auto const limit = std::chrono::milliseconds(static_cast<std::int64_t>(m_limit * 1000));
                m_running.push_back({Child(m_waiting.front().work, limit), m_waiting.front().finish});
            }
            Wait();
            for (auto each = m_running.begin(); each != m_running.end();) {
                std::optional<ChildEnd> const end = each->child.Poll();
                if (!end) {
                    ++each;
                    continue;
                }
                auto const finish = std::move(each->finish);
                each = m_running.erase(each);
                finish(*end);
            }
        }
    }

private:
    struct Running {
        Child child;
        std::function<void(ChildEnd const&)> finish;
    };

    /// Until one of them ends, or for a while: those that hang do not tell.
    void Wait() {
        constexpr int milliseconds = 50;
        std::vector<pollfd> handles;
        for (Running const& each : m_running)
            handles.push_back({each.child.GetHandle(), POLLIN, 0});
        (void)poll(handles.data(), handles.size(), milliseconds);
    }

    std::deque<Task> m_waiting;
    std::list<Running> m_running;
    double m_limit;
    std::stop_token m_stop;
};

/// Throws for a name that is not one of `names`.
void RequireName(std::string const& what, std::string const& name, std::vector<std::string> const& names) {
    if (std::ranges::find(names, name) == names.end())
        Core::Throw<Proc::SettingsException>(
            fmt::format("{} \"{}\"{}", what, name, Core::NearNamesText(name, names)));
}

void CheckNames(CheckOptions const& options) {
    std::vector<std::string> names;
    for (CheckInfo const& check : GetChecks())
        names.emplace_back(check.name);
    for (std::string const& name : options.checks)
        RequireName("There is no check", name, names);
    if (options.level < 1 || options.level > 10)
        Core::Throw<Proc::SettingsException>(fmt::format("The level is 1 to 10, not {}", options.level));
}

} // namespace

std::string_view GetName(Outcome outcome) noexcept {
    switch (outcome) {
    case Outcome::Passed:
        return "passed";
    case Outcome::Skipped:
        return "skipped";
    case Outcome::Failed:
        return "failed";
    case Outcome::Crashed:
        return "crashed";
    case Outcome::Hung:
        return "hung";
    }
    return "unknown";
}

std::size_t CheckReport::Count(Outcome outcome) const {
    return static_cast<std::size_t>(std::ranges::count(results, outcome, &CheckResult::outcome));
}

bool CheckReport::IsGood() const {
    return std::ranges::all_of(results, [](CheckResult const& result) {
        return result.outcome == Outcome::Passed || result.outcome == Outcome::Skipped;
    });
}

CheckReport RunChecks(CheckOptions const& options, std::function<void(CheckResult const&)> const& show) {
    CheckNames(options);
    CheckReport report;
    Pool pool(options.limit, options.stop);
    auto const isWanted = [&](CheckInfo const& check) {
        return options.checks.empty() ? check.level <= options.level
                                      : std::ranges::find(options.checks, check.name) != options.checks.end();
    };
    auto const add = [&](CheckInfo const& check, EffectName const& name, std::string const& settings,
                         ChildEnd const& end) {
        CheckResult result{&check,     name.classId,    name.implName,
                           settings,   GetOutcome(end), GetText(end, options.limit),
                           end.seconds};
        if (show)
            show(result);
        report.results.push_back(std::move(result));
    };
    auto const addChecks = [&](EffectName const& name, Preparation const& preparation) {
        for (CheckInfo const& check : GetChecks()) {
            bool const applies =
                name.kind == Host::EffectKind::Audio ? check.audio != nullptr : check.video != nullptr;
            if (applies && isWanted(check))
                pool.Add({[&options, &check, name, preparation] {
                              return Say([&] { return RunCheck(options, name, preparation, check); });
                          },
                          [&add, &check, name, preparation](ChildEnd const& end) {
                              add(check, name, preparation.settings, end);
                          }});
        }
    };

    auto const addPluginCheck = [&](CheckInfo const& check) {
        pool.Add({[&options, &check] {
                      return Say([&] {
                          check.plugin(options.plugin);
                          return std::string();
                      });
                  },
                  [&add, &check](ChildEnd const& end) { add(check, {}, "", end); }});
    };

    CheckInfo const& loads = *FindCheck("loads");
    if (options.effects.empty()) {
        if (isWanted(loads)) {
            addPluginCheck(loads);
            pool.Run();
            if (!report.IsGood())
                return report; // all others would say the same again
        }
        for (CheckInfo const& check : GetChecks())
            if (check.plugin != nullptr && &check != &loads && isWanted(check))
                addPluginCheck(check);
    }
    pool.Add({[&options] { return Say([&] { return ListEffects(options.plugin); }); },
              [&](ChildEnd const& end) {
                  if (GetOutcome(end) != Outcome::Passed)
                      return add(*FindCheck("registers"), {}, "", end);
                  std::vector<std::string> const parts = Split(end.text.substr(1));
                  for (std::size_t i = 0; i + 2 < parts.size(); i += 3)
                      report.effects.push_back({parts[i], parts[i + 1],
                                                static_cast<Host::EffectKind>(std::stoi(parts[i + 2])),
                                                false});
              }});
    pool.Run();

    std::vector<std::string> classIds;
    std::ranges::transform(report.effects, std::back_inserter(classIds), &EffectName::classId);
    for (std::string const& wanted : report.effects.empty() ? std::vector<std::string>() : options.effects)
        RequireName(fmt::format("{} has no effect", options.plugin.string()), wanted, classIds);
    for (EffectName& name : report.effects) {
        if (!options.effects.empty() &&
            std::ranges::find(options.effects, name.classId) == options.effects.end())
            continue;
        pool.Add({[&options, name] { return Say([&] { return Prepare(options, name); }); },
                  [&](ChildEnd const& end) {
                      if (GetOutcome(end) != Outcome::Passed)
                          return add(*FindCheck("makes-effects"), name, "", end);
                      std::vector<std::string> const parts = Split(end.text.substr(1));
                      name.isIdle = parts[1] == "1";
                      addChecks(name, {parts.size() > 2 ? parts[2] : "", std::stoul(parts[0]), name.isIdle});
                  }});
    }
    pool.Run();
    std::ranges::stable_sort(report.results, {}, [](CheckResult const& result) {
        return std::tuple(result.classId, result.implName, result.check->group);
    });
    return report;
}

} // namespace Tarsel::Check
