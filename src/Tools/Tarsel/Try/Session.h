#pragma once

#include "Host/EffectStep.h"
#include "Media/StreamInfo.h"
#include "Tools/Tarsel/Chain/Effects.h"
#include "Tools/Tarsel/Try/FilmJob.h"
#include "Tools/Tarsel/Try/FrameSource.h"
#include "Tools/Tarsel/Work/FFmpegCommand.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Tools {

struct Answer {
    int status = 200;
    std::string type = "application/json";
    std::string body = "{}";
    /// Of a frame: the header X-Frame.
    std::string frame{};
};

struct SessionOptions {
    std::filesystem::path input;
    /// The only one that is written to; "": none is.
    std::filesystem::path folder;
    /// The plug-in as the user named it; "" for the usual one.
    std::string plugin;
    /// To begin with.
    std::vector<Host::EffectStep> steps;
    RunFilm runFilm;
    /// The command of the ffmpeg program for a run of these steps into the file; called on any thread.
    std::function<FFmpegCommand(std::string const& output, std::vector<std::string> const& steps)>
        findCommand;
    /// Ends the program; called on any thread.
    std::function<void()> quit;
};

/// A file that effects are tried on, and what can be asked of it: a function a request (Requests.h). They
/// take the body of the request and throw whatever is wrong; Explain makes an answer of that. Any thread,
/// several at a time.
class Session {
public:
    /// Opens the file. Media::InputException where it has neither video nor audio.
    Session(Effects effects, SessionOptions options);
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    /// As Stop.
    ~Session() { Stop(); }

    Answer Describe(std::string const& body);
    Answer ListEffects(std::string const& body);
    Answer Check(std::string const& body);
    Answer FindCommand(std::string const& body);
    Answer ShowFrame(std::string const& body);
    Answer PlayAudio(std::string const& body);
    Answer StartFilm(std::string const& body);
    Answer WatchFilm(std::string const& body);
    Answer StopFilm(std::string const& body);
    Answer Quit(std::string const& body);

    static Answer Explain(std::exception const& failure);

    /// Interrupts whatever is under way.
    void Stop();

private:
    struct Audio {
        Media::AudioStreamInfo stream;
        std::int64_t duration = 0;
    };

    /// Interrupts the request of that kind and slot that is under way; a token for the one that begins.
    std::stop_token Supersede(std::string const& kind, std::string const& slot);

    Effects m_effects;
    SessionOptions m_options;
    std::optional<FrameSource> m_video;
    std::optional<Audio> m_audio;
    FilmJob m_film;

    std::mutex m_newestMutex;
    std::map<std::string, std::stop_source> m_newest;
    std::mutex m_frameMutex;
    std::mutex m_audioMutex;
};

} // namespace Tarsel::Tools
