#include "Media/Container/StreamSelector.h"

#include "Conf/FFmpegFormats.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Container/Demuxer.h"
#include "Media/Container/Languages.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

/// What choices are made of.
struct Kind {
    AVMediaType type;
    char const* name;
    StreamChoice StreamSelection::*choice;
};
constexpr Kind s_video{AVMEDIA_TYPE_VIDEO, "video", &StreamSelection::video};
constexpr Kind s_audio{AVMEDIA_TYPE_AUDIO, "audio", &StreamSelection::audio};
constexpr Kind s_subtitles{AVMEDIA_TYPE_SUBTITLE, "subtitle", &StreamSelection::subtitles};

bool IsCover(AVStream const& stream) noexcept {
    return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

std::vector<AVStream const*> ListOfKind(AVFormatContext const& input, Kind const& kind) {
    std::vector<AVStream const*> streams;
    for (unsigned i = 0; i < input.nb_streams; ++i)
        if (input.streams[i]->codecpar->codec_type == kind.type && !IsCover(*input.streams[i]))
            streams.push_back(input.streams[i]);
    return streams;
}

/// "eng aac stereo", "h264 1920x1080".
std::string Describe(AVStream const& stream) {
    AVCodecParameters const& parameters = *stream.codecpar;
    std::string text(GetLanguage(stream));
    text += (text.empty() ? "" : " ") + std::string(avcodec_get_name(parameters.codec_id));
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO)
        text += ' ' + Conf::TarselFromAVChannelLayout(parameters.ch_layout).GetName();
    else if (parameters.codec_type == AVMEDIA_TYPE_VIDEO)
        text += fmt::format(" {}x{}", parameters.width, parameters.height);
    return text;
}

[[noreturn]] void RefuseChoice(StreamChoice const& choice, Kind const& kind, Demuxer const& input) {
    auto const streams = ListOfKind(input.GetContext(), kind);
    std::string const name = Quote(input.GetPath());
    if (streams.empty())
        Core::Throw<OptionsException>(fmt::format("{} has no {} streams to choose from", name, kind.name));
    int number = 0;
    std::string const list = Core::Utils::ToString(streams, ", ", [&](AVStream const* stream) {
        return fmt::format("{} ({})", number++, Describe(*stream));
    });
    bool const isByNumber = choice.by == StreamChoice::By::Number;
    Core::Throw<OptionsException>(fmt::format(
        "Choose another {} stream: {} has {}, but none {}", kind.name, name, list,
        isByNumber ? fmt::format("of number {}", choice.number) : "in the language " + choice.language));
}

/// Marks the streams of the kind.
void Select(StreamChoice const& choice, Kind const& kind, Demuxer const& input, std::vector<bool>& wanted) {
    bool isAny = choice.by == StreamChoice::By::All || choice.by == StreamChoice::By::None;
    int number = 0;
    for (AVStream const* const stream : ListOfKind(input.GetContext(), kind)) {
        bool const isWanted = Includes(choice, number++, GetLanguage(*stream));
        wanted[static_cast<std::size_t>(stream->index)] = isWanted;
        isAny = isAny || isWanted;
    }
    if (!isAny)
        RefuseChoice(choice, kind, input);
}

/// The stream itself where it is wanted, else the first of its kind that is; −1: none.
int FindWanted(int best, Kind const& kind, AVFormatContext const& input, std::vector<bool> const& wanted) {
    auto const isWanted = [&](int index) { return wanted[static_cast<std::size_t>(index)]; };
    if (best < 0 || isWanted(best))
        return best;
    auto const streams = ListOfKind(input, kind);
    auto const found =
        std::ranges::find_if(streams, [&](AVStream const* stream) { return isWanted(stream->index); });
    return found != streams.end() ? (*found)->index : -1;
}

} // namespace

bool Includes(StreamChoice const& choice, int number, std::string_view language) noexcept {
    switch (choice.by) {
    case StreamChoice::By::All:
        return true;
    case StreamChoice::By::None:
        return false;
    case StreamChoice::By::Number:
        return number == choice.number;
    case StreamChoice::By::Language:
        return IsSameLanguage(language, choice.language);
    }
    return false;
}

std::vector<bool> SelectStreams(StreamSelection const& selection, Demuxer const& input) {
    AVFormatContext const& context = input.GetContext();
    std::vector<bool> wanted(context.nb_streams, true);
    for (Kind const& kind : {s_video, s_audio, s_subtitles})
        Select(selection.*kind.choice, kind, input, wanted);
    for (unsigned i = 0; i < context.nb_streams; ++i)
        if (IsCover(*context.streams[i]))
            wanted[i] = selection.video.by != StreamChoice::By::None;
    return wanted;
}

void CheckAudioChoices(std::vector<StreamChoice> const& choices, StreamSelection const& selection,
                       Demuxer const& input) {
    std::vector<bool> const wanted = SelectStreams(selection, input);
    for (StreamChoice const& choice : choices) {
        std::vector<bool> worked(wanted.size());
        Select(choice, s_audio, input, worked);
        bool const isLeftOut = choice.by != StreamChoice::By::All &&
                               std::ranges::equal(wanted, worked, [](bool a, bool b) { return !(a && b); });
        if (isLeftOut)
            Core::Throw<OptionsException>(
                fmt::format("Keep the audio stream that a step works on: {} is left out",
                            choice.by == StreamChoice::By::Number ? fmt::format("number {}", choice.number)
                                                                  : choice.language));
    }
}

void Choose(StreamSelection const& selection, Demuxer& input) {
    std::vector<bool> const wanted = SelectStreams(selection, input);
    int const video = FindWanted(input.GetVideoIndex(), s_video, input.GetContext(), wanted);
    int const audio = FindWanted(input.GetAudioIndex(), s_audio, input.GetContext(), wanted);
    if (video < 0 && audio < 0)
        Core::Throw<OptionsException>(fmt::format("Choose what to keep: {} has nothing but {}",
                                                  Quote(input.GetPath()),
                                                  input.GetVideoIndex() >= 0 ? "video" : "audio"));
    input.WorkOn(video, audio);
}

} // namespace Tarsel::Media
