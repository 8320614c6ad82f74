#include "Tools/Tarsel/Try/Session.h"

#include "Core/Throw.h"
#include "Host/ChainFile.h"
#include "Host/ErrorReport.h"
#include "Media/AudioReader.h"
#include "Media/AudioWriter.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Console/ExitCodes.h"
#include "Tools/Tarsel/Console/ShellText.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Preview/Pictures.h"
#include "Tools/Tarsel/Preview/VideoPreview.h"
#include "Tools/Tarsel/Try/TriedSteps.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;
using Frame = SP<Proc::IDataVideo>;

constexpr double s_microseconds = 1e6;
constexpr std::size_t s_mostSteps = 64;

std::string Dump(Json const& json) {
    // A path need not be UTF-8.
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

/// The body of a request, whose members are read with the types that they have to have.
class Body {
public:
    explicit Body(std::string const& text) : m_json(Json::parse(text, &CheckDepth, false)) {
        if (!m_json.is_object())
            Core::Throw<UsageException>("Send a JSON object");
    }

    Json const& GetSteps() const {
        Json const& steps = Get("steps");
        if (!steps.is_array() || steps.size() > s_mostSteps)
            Core::Throw<UsageException>(
                fmt::format("\"steps\" takes an array of up to {} steps", s_mostSteps));
        return steps;
    }
    double GetSeconds(std::string const& key, double most) const {
        Json const& value = Get(key);
        if (!value.is_number() || !(std::abs(value.get<double>()) <= most))
            Core::Throw<UsageException>(fmt::format("\"{}\" takes seconds, {} at most", key, most));
        return value.get<double>();
    }
    std::string GetText(std::string const& key) const {
        Json const& value = Get(key);
        if (!value.is_string())
            Core::Throw<UsageException>(fmt::format("\"{}\" takes a text", key));
        return value.get<std::string>();
    }
    bool GetFlag(std::string const& key) const { return Get(key).is_boolean() && Get(key).get<bool>(); }
    /// The name of a file in a folder, not hidden.
    std::string GetFileName(std::string const& key) const {
        std::string name = GetText(key);
        if (name.empty() || name.front() == '.' ||
            name.find_first_of(std::string("/\\\0", 3)) != std::string::npos)
            Core::Throw<UsageException>("Give the name of a file without folders, such as film.mp4");
        return name;
    }

private:
    /// Writing JSON takes a stack that grows with the depth.
    static bool CheckDepth(int depth, Json::parse_event_t, Json const&) {
        constexpr int most = 16;
        if (depth > most)
            Core::Throw<UsageException>(fmt::format("Send JSON of at most {} levels", most));
        return true;
    }

    Json const& Get(std::string const& key) const {
        auto const found = m_json.find(key);
        if (found == m_json.end())
            Core::Throw<UsageException>(fmt::format("Add \"{}\"", key));
        return *found;
    }

    Json m_json;
};

std::vector<AskedStep> ReadTriedSteps(Effects const& effects, Json const& steps) {
    std::vector<AskedStep> asked;
    for (Json const& step : steps)
        asked.push_back(ReadTriedStep(effects, Dump(step), asked.size()));
    return asked;
}

Answer AnswerJson(Json const& json) {
    return {200, "application/json", Dump(json)};
}

std::string ToRgba(Proc::IDataVideo const& rgb) {
    constexpr char opaque = static_cast<char>(255);
    Proc::ReadOnlyPlane const plane = rgb.GetReadOnlyPlane(0);
    std::string bytes(std::size_t{plane.rows} * plane.rowBytes / 3 * 4, opaque);
    char* out = bytes.data();
    for (std::uint32_t row = 0; row < plane.rows; ++row) {
        std::uint8_t const* in = plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize;
        for (std::size_t i = 0; i < plane.rowBytes; i += 3, in += 3, out += 4)
            std::copy_n(in, 3, out);
    }
    return bytes;
}

void CheckStop(std::stop_token const& stop) {
    if (stop.stop_requested())
        Core::Throw<Media::InterruptedException>("A newer request replaced this one");
}

/// The frame that is shown at the time of the window's, behind the chain.
Frame Pass(Proc::IEffectStreamVideo& chain, FrameWindow const& window, bool neighbors,
           std::stop_token const& stop) {
    Frame const& asked = window.frames[window.shown];
    Frame shown;
    auto const takeAll = [&] {
        while (Frame const frame = chain.Take())
            if (!shown || frame->GetTime() <= asked->GetTime())
                shown = frame;
    };
    for (Frame const& frame : neighbors ? window.frames : std::vector{asked}) {
        CheckStop(stop);
        chain.Feed(frame->Copy());
        takeAll();
    }
    chain.End();
    takeAll();
    if (!shown)
        Core::Throw<Media::OptionsException>("There is nothing to show: the effects give no frame");
    return shown;
}

/// The effects' own words for what is wrong with one step, without its label; nothing where nothing is.
Json FindError(Effects const& effects, AskedStep const& step) {
    try {
        SortedSteps const sorted = SortSteps(effects, {step});
        References references;
        (void)MakePictureSteps(effects, sorted.picture, references);
        (void)MakeAudioSteps(effects, sorted.audio);
    } catch (std::exception const& failure) {
        std::string const text = Host::DescribeError(failure);
        return TakeLabel(text, step.label).value_or(text);
    }
    return nullptr;
}

} // namespace

Session::Session(Effects effects, SessionOptions options)
    : m_effects(std::move(effects)), m_options(std::move(options)), m_film(m_options.runFilm) {
    std::exception_ptr failure;
    try {
        m_video.emplace(m_options.input);
    } catch (Media::InputException const&) {
        failure = std::current_exception();
    }
    try {
        Media::AudioReader const reader(m_options.input);
        m_audio = {reader.GetInfo(), reader.GetDuration()};
    } catch (Media::InputException const&) {
        if (failure)
            std::rethrow_exception(failure);
    }
}

Answer Session::Describe(std::string const&) {
    std::vector<AskedStep> steps;
    for (Host::EffectStep const& step : m_options.steps)
        steps.push_back({step, {}, {}, {}});
    Json video;
    if (m_video) {
        Media::VideoStreamInfo const& stream = m_video->GetStream();
        Ratio const rate = stream.frameRate;
        video = {{"width", stream.frame.width},
                 {"height", stream.frame.height},
                 {"start", static_cast<double>(stream.start) / s_microseconds},
                 {"seconds", static_cast<double>(m_video->GetDuration()) / s_microseconds},
                 {"rate", static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator)}};
    }
    Json audio;
    if (m_audio)
        audio = {{"seconds", static_cast<double>(m_audio->duration) / s_microseconds},
                 {"rate", m_audio->stream.format.rate},
                 {"channels", m_audio->stream.format.layout.channels}};
    std::string extension = m_options.input.extension();
    return AnswerJson({{"input", m_options.input.filename().string()},
                       {"folder", m_options.folder.string()},
                       {"output", m_options.input.stem().string() + "-out" + extension},
                       {"steps", Json::parse(WriteChain(steps)).at("steps")},
                       {"video", video},
                       {"audio", audio}});
}

Answer Session::ListEffects(std::string const&) {
    std::vector<CatalogEntry> entries = MakeCatalog(m_effects, {});
    std::erase_if(entries, [&](CatalogEntry const& entry) {
        return !CanBeTried(entry.classId, entry.kind) ||
               (entry.kind == Host::EffectKind::Audio ? !m_audio : !m_video);
    });
    return {200, "application/json", CatalogToJson(m_effects, entries)};
}

Answer Session::Check(std::string const& text) {
    Body const body(text);
    std::string const output = m_options.folder / body.GetFileName("output");
    Json states = Json::array();
    std::vector<AskedStep> asked;
    for (Json const& step : body.GetSteps()) {
        Json error;
        try {
            asked.push_back(ReadTriedStep(m_effects, Dump(step), states.size()));
            error = FindError(m_effects, asked.back());
        } catch (std::exception const& failure) {
            error = Host::DescribeError(failure);
        }
        states.push_back({{"error", error}, {"notes", Json::array()}});
    }
    bool const isSound =
        std::ranges::all_of(states, [](Json const& state) { return state["error"].is_null(); });
    Json answer{{"steps", states}, {"command", ""}, {"chain", ""}};
    if (!isSound)
        return AnswerJson(answer);

    SortedSteps const sorted = SortSteps(m_effects, asked);
    ChainMaker maker(m_effects);
    References references;
    if (m_video)
        (void)maker.NoteIdleSteps(m_video->GetStream(),
                                  MakePictureSteps(m_effects, sorted.picture, references));
    if (m_audio)
        (void)maker.MakeAudio(m_audio->stream, sorted.audio);
    for (std::string const& note : maker.GetNotes())
        for (std::size_t i = 0; i < asked.size(); ++i)
            if (auto const own = TakeLabel(note, asked[i].label))
                answer["steps"][i]["notes"].push_back(MakeSentence(*own));

    std::string command =
        fmt::format("tarsel run {} {}", QuoteForShell(m_options.input), QuoteForShell(output));
    for (AskedStep const& step : asked)
        command += " -e " + QuoteForShell(WriteStep(step.step));
    if (!m_options.plugin.empty())
        command += " --plugin " + QuoteForShell(m_options.plugin);
    answer["command"] = command;
    answer["chain"] = WriteChain(asked);
    return AnswerJson(answer);
}

Answer Session::FindCommand(std::string const& text) {
    Body const body(text);
    std::vector<std::string> steps;
    for (AskedStep const& step : ReadTriedSteps(m_effects, body.GetSteps()))
        steps.push_back(WriteStep(step.step));
    FFmpegCommand const command = m_options.findCommand(m_options.folder / body.GetFileName("output"), steps);
    return AnswerJson({{"command", QuoteForShell(command.words)}, {"obstacle", command.obstacle}});
}

Answer Session::ShowFrame(std::string const& text) {
    Body const body(text);
    Json const& json = body.GetSteps();
    std::int64_t const time = std::llround(body.GetSeconds("at", s_microseconds) * s_microseconds);
    std::stop_token const stop = Supersede("frame", body.GetText("slot"));
    SortedSteps const sorted = SortSteps(m_effects, ReadTriedSteps(m_effects, json));
    if (!m_video)
        Core::Throw<Media::OptionsException>("There is no video to show");
    References references;
    std::vector<VideoStep> const steps = MakePictureSteps(m_effects, sorted.picture, references);
    bool const neighbors = std::ranges::any_of(steps, DependsOnOtherFrames);

    std::lock_guard const lock(m_frameMutex);
    CheckStop(stop);
    FrameWindow const& window = m_video->GetAt(time, neighbors, stop);
    ChainMaker maker(m_effects);
    auto const chain = maker.Make(m_video->GetStream(), steps);
    Frame const frame = Pass(*chain, window, neighbors, stop);
    Size const size = GetShownSize(*frame, 1);
    std::vector<std::string> notes;
    std::ranges::transform(maker.GetNotes(), std::back_inserter(notes), MakeSentence);
    Json const facts{{"width", size.width},
                     {"height", size.height},
                     {"time", static_cast<double>(window.frames[window.shown]->GetTime()) / s_microseconds},
                     {"isExact", !neighbors || window.isFromStart},
                     {"notes", notes}};
    return {200, "application/octet-stream", ToRgba(*ToRgb(frame, size)), Dump(facts)};
}

Answer Session::PlayAudio(std::string const& text) {
    constexpr double longest = 60;
    Body const body(text);
    Media::TimeRange range;
    range.from = Media::MediaTime::Seconds(body.GetSeconds("at", s_microseconds));
    range.duration = Media::MediaTime::Seconds(body.GetSeconds("seconds", longest));
    std::stop_token const stop = Supersede("audio", body.GetText("slot"));
    SortedSteps const sorted = SortSteps(m_effects, ReadTriedSteps(m_effects, body.GetSteps()));
    if (!m_audio)
        Core::Throw<Media::OptionsException>("There is no audio to play");

    std::lock_guard const lock(m_audioMutex);
    Media::AudioReader reader(m_options.input, stop, range);
    ChainMaker maker(m_effects);
    Media::AudioEffects const effects = maker.MakeAudio(reader.GetInfo(), sorted.audio);
    PrivateFolder const folder;
    std::filesystem::path const file = folder.GetPath() / "excerpt.wav";
    Media::AudioWriter writer(
        {file, {}, false, "pcm_s16le", {}, effects.chain ? effects.output : reader.GetInfo().format});
    auto const takeAll = [&] {
        while (auto const block = effects.chain->Take())
            writer.Write(*block);
    };
    while (auto const block = reader.Next()) {
        if (!effects.chain) {
            writer.Write(*block);
            continue;
        }
        effects.chain->Feed(block);
        takeAll();
    }
    if (effects.chain) {
        effects.chain->End();
        takeAll();
    }
    writer.Publish();
    std::ifstream in(file, std::ios::binary);
    return {200, "audio/wav", {std::istreambuf_iterator<char>(in), {}}};
}

Answer Session::StartFilm(std::string const& text) {
    Body const body(text);
    std::string const name = body.GetFileName("output");
    if (m_options.folder.empty())
        Core::Throw<UsageException>("Start tarsel try with --out FOLDER: it writes nowhere else");
    std::vector<AskedStep> const asked = ReadTriedSteps(m_effects, body.GetSteps());
    std::vector<std::string> arguments{"run", m_options.input, m_options.folder / name, "--progress", "json"};
    if (body.GetFlag("overwrite"))
        arguments.emplace_back("--overwrite");
    m_film.Start(std::move(arguments), WriteChain(asked));
    return {};
}

Answer Session::WatchFilm(std::string const&) {
    return {200, "application/json", m_film.GetLastLine()};
}

Answer Session::StopFilm(std::string const&) {
    m_film.Stop();
    return {};
}

Answer Session::Quit(std::string const&) {
    m_options.quit();
    return {};
}

Answer Session::Explain(std::exception const& failure) {
    constexpr int badRequest = 400;
    constexpr int conflict = 409;
    constexpr int unprocessable = 422;
    ExitCode const code = GetExitCode(failure);
    std::optional<std::size_t> const step = FindStep(failure);
    Json const answer{{"message", Host::DescribeError(failure)},
                      {"step", step ? Json(*step) : Json(nullptr)}};
    return {code == ExitCode::BadArguments  ? badRequest
            : code == ExitCode::Interrupted ? conflict
                                            : unprocessable,
            "application/json", Dump(answer)};
}

void Session::Stop() {
    {
        std::lock_guard const lock(m_newestMutex);
        for (auto& [slot, newest] : m_newest)
            newest.request_stop();
    }
    m_film.Stop();
}

std::stop_token Session::Supersede(std::string const& kind, std::string const& slot) {
    constexpr std::size_t most = 16;
    std::lock_guard const lock(m_newestMutex);
    if (m_newest.size() >= most) // made-up names
        m_newest.clear();
    std::stop_source& newest = m_newest[kind + '/' + slot];
    newest.request_stop();
    newest = {};
    return newest.get_token();
}

} // namespace Tarsel::Tools
