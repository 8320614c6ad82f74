#pragma once

#include "Tools/Tarsel/Arguments/Options.h"
#include "Tools/Tarsel/Work/Context.h"

#include <functional>

namespace Tarsel::Tools {

/// One verb of the command line.
struct Verb {
    /// Its part of the command line; belongs to the whole.
    CLI::App* command;
    /// Does the work, once the command line is parsed. Failures are exceptions.
    std::function<void(Context const&)> run;
};

/// Each adds a verb to the command line; the options all verbs share go to `common`, which outlives the
/// parsing.
///
/// "run": a media file's picture and audio through effects into another file.
Verb AddRunVerb(CLI::App& app, CommonOptions& common);
/// "join": the parts that "run" made of a film, put together.
Verb AddJoinVerb(CLI::App& app, CommonOptions& common);
/// "stabilize": a film with the camera's shake taken out, in two passes.
Verb AddStabilizeVerb(CLI::App& app, CommonOptions& common);
/// "palette": pictures of few colors.
Verb AddPaletteVerb(CLI::App& app, CommonOptions& common);
/// "mix": audio streams into one.
Verb AddMixVerb(CLI::App& app, CommonOptions& common);
/// "tone": an audio file out of a source of audio.
Verb AddToneVerb(CLI::App& app, CommonOptions& common);
/// "meter": how loud a file's audio is over time.
Verb AddMeterVerb(CLI::App& app, CommonOptions& common);
/// "list": the effects of the plug-in and their parameters.
Verb AddListVerb(CLI::App& app, CommonOptions& common);
/// "explain": what a run would do with a file, or effects with a format.
Verb AddExplainVerb(CLI::App& app, CommonOptions& common);
/// "preview": what effects make of some frames, or of audio, as one picture.
Verb AddPreviewVerb(CLI::App& app, CommonOptions& common);
/// "gallery": a page that shows all effects.
Verb AddGalleryVerb(CLI::App& app, CommonOptions& common);
/// "try": effects tried on a file in a browser.
Verb AddTryVerb(CLI::App& app, CommonOptions& common);
/// "save": a chain of effects as a file.
Verb AddSaveVerb(CLI::App& app, CommonOptions& common);
/// "check": a plug-in against the contract with its hosts.
Verb AddCheckVerb(CLI::App& app, CommonOptions& common);
/// "bench": how long effects take on a film, of which nothing is written.
Verb AddBenchVerb(CLI::App& app, CommonOptions& common);
/// "man": the manual pages; not shown.
Verb AddManVerb(CLI::App& app);
/// "complete": what may follow on a command line; for shells, and not shown. To be added last.
Verb AddCompleteVerb(CLI::App& app, CommonOptions& common);

} // namespace Tarsel::Tools
