#pragma once

#include "Tools/Tarsel/Try/Session.h"

#include <array>
#include <string>
#include <string_view>

namespace Tarsel::Tools {

/// Something that the page can ask for.
struct Request {
    std::string_view method;
    /// Below the token of the address.
    std::string_view path;
    Answer (Session::*answer)(std::string const& body);
};

/// All there are. Bodies and answers are JSON unless something else is said; members in '[]' may lack.
/// "steps" is the array of that name in chain.schema.json; times are seconds of the input. What fails answers
/// {"message": TEXT, "step": INDEX or null} with the status that is meant for it: 400 for what the request
/// asks, 409 for a request that a newer one has replaced, 422 for what an effect or a file refuses.
inline constexpr std::array s_requests{
    // {"input", "folder": "" where nothing may be written, "output": a file name, "steps",
    //  "video": null or {"width", "height", "start", "seconds", "rate"},
    //  "audio": null or {"seconds", "rate", "channels"}}
    Request{"GET", "api/session", &Session::Describe},
    // list.schema.json, without the effects that need more than one input or pass
    Request{"GET", "api/effects", &Session::ListEffects},
    // {"steps", "output"} -> {"steps": [{"error": TEXT or null, "notes": [TEXT...]}...], "command", "chain"}
    Request{"POST", "api/check", &Session::Check},
    // {"steps", "output"} -> {"command": of the ffmpeg program, or "", "obstacle": why there is none, or ""}
    Request{"POST", "api/ffmpeg", &Session::FindCommand},
    // {"steps", "at", "slot": a name, of which the newest request replaces others} -> rows of 8-bit RGBA;
    // header X-Frame: {"width", "height", "time", "isExact", "notes"}
    Request{"POST", "api/frame", &Session::ShowFrame},
    // {"steps", "at", "seconds", "slot"} -> audio/wav
    Request{"POST", "api/audio", &Session::PlayAudio},
    // {"steps", "output": a file name, "overwrite"} -> {}; one at a time
    Request{"POST", "api/film", &Session::StartFilm},
    // the last line of progress.schema.json, or {"type": "none"}
    Request{"GET", "api/film", &Session::WatchFilm},
    // {}, once nothing of the film is left
    Request{"DELETE", "api/film", &Session::StopFilm},
    // {}; the program ends
    Request{"POST", "api/quit", &Session::Quit},
};

} // namespace Tarsel::Tools
