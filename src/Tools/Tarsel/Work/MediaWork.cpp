#include "Tools/Tarsel/Work/MediaWork.h"

#include "Core/ThreadBudget.h"
#include "Core/Throw.h"
#include "Tools/Tarsel/Arguments/FileArguments.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace Tarsel::Tools {

bool NameSameFile(std::filesystem::path const& a, std::filesystem::path const& b) {
    std::error_code error;
    if (std::filesystem::equivalent(a, b, error))
        return true;
    auto const whole = [&](std::filesystem::path const& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    };
    return whole(a) == whole(b);
}

namespace {

/// Options that name files to write must name no file of the run.
void CheckFiles(MediaArguments const& arguments) {
    std::vector<std::filesystem::path> files{arguments.input, arguments.output};
    for (auto const& [option, name] :
         {std::pair("--log", arguments.log), std::pair("--frame-facts", arguments.frameFacts)}) {
        if (name.empty())
            continue;
        for (std::filesystem::path const& file : files)
            if (NameSameFile(name, file))
                Core::Throw<UsageException>(
                    fmt::format("{}: choose another file: \"{}\" belongs to the run", option, name));
        files.emplace_back(name);
    }
}

} // namespace

MediaWork::MediaWork(MediaArguments const& arguments, Context const& context)
    : m_arguments(arguments), m_context(context) {
    if (arguments.threads)
        Core::ThreadBudget::Set(*arguments.threads);
    CheckFiles(arguments);
    if (arguments.GetProgressForm() == ProgressForm::Json)
        CheckIsAlone(arguments.output, "--progress json");
    if (!arguments.frameFacts.empty())
        m_facts.Open(arguments.frameFacts, arguments.overwrite, arguments.output);
    if (!arguments.log.empty())
        context.report.GetLog().Open(arguments.log);
    context.report.Begin(arguments.GetProgressForm(), arguments.quiet, arguments.input, arguments.output);
}

std::function<void(Media::RunProgress const&)> MediaWork::ShowProgress(int pass, int passes) const {
    return [&report = m_context.report, pass, passes](Media::RunProgress const& progress) {
        report.Show(progress, pass, passes);
    };
}

void MediaWork::Attach(Media::RunOptions& options, int passes) {
    options.onProgress = ShowProgress(passes - 1, passes);
    if (!m_arguments.frameFacts.empty())
        options.onFrame = [this](Media::FrameFacts const& facts) { m_facts.Write(facts); };
}

void MediaWork::Tell(Media::RunResult const& result, std::vector<std::string> const& notes,
                     std::string const& times) {
    m_facts.Publish();
    m_context.report.SetResult(m_arguments.output, result, times);
    m_context.report.AddNotes(notes);
}

} // namespace Tarsel::Tools
