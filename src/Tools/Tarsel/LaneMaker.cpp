#include "Tools/Tarsel/LaneMaker.h"

#include "Conf/FormatCodecAudio.h"
#include "Proc/Settings/Format.h"
#include "Tools/Tarsel/NotedLane.h"

#include <fmt/format.h>

namespace Tarsel::Tools {

std::unique_ptr<Proc::IEffectStreamVideo> LaneMaker::Make(Media::VideoStreamInfo const& stream,
                                                          std::vector<PictureStep> const& steps) {
    auto lane = std::make_unique<NotedPictureLane>(m_notes);
    auto const orientation = stream.orientation.GetOrientation();
    if (orientation && *orientation != 1)
        lane->Append(MakeOrientationEffect(m_effects, stream.orientation), "turning upright");
    if (!orientation)
        m_notes.emplace_back(
            "The input's orientation tag is no mirror and no quarter turn: the effects worked "
            "on the picture as it is stored, and the tag is dropped.");
    for (auto const& [effect, label] : steps)
        lane->Append(effect, label);
    return lane;
}

bool LaneMaker::HasToTurn(Media::VideoStreamInfo const& stream) {
    auto const orientation = stream.orientation.GetOrientation();
    return !stream.copyObstacle.empty() && orientation && *orientation != 1;
}

std::unique_ptr<Proc::IEffectStreamVideo> LaneMaker::MakeAnew(Media::VideoStreamInfo const& stream,
                                                              std::vector<PictureStep> const& steps) {
    m_notes.push_back(fmt::format("The pictures were encoded anew{}: {}.",
                                  HasToTurn(stream) ? " and turned upright" : "", stream.copyObstacle));
    return Make(stream, steps);
}

Media::SoundLane LaneMaker::MakeSound(Media::SoundStreamInfo const& stream,
                                      std::vector<StepText> const& steps) {
    auto lane = std::make_unique<NotedSoundLane>(m_soundNotes);
    int depth = 0;
    for (auto const& [effect, label] : MakeSoundSteps(m_effects, steps)) {
        // A format that is named is wanted; others are what an effect reckons in.
        auto const* const resample = dynamic_cast<Proc::SettingsResample const*>(&effect->GetSettingsBase());
        if (resample != nullptr && resample->format != Conf::SampleFormats::Unknown)
            depth = 8 * Conf::SampleFmtRecord::Find(resample->format).size;
        lane->Append(effect, label);
    }
    SP<Conf::IFormatCodecAudio> format = MakeSP<Conf::FormatCodecAudio>(stream.format);
    lane->UpdateFormatCodec(format);
    return {std::move(lane), format->GetSampleInfo(), depth};
}

std::vector<std::string> LaneMaker::GetNotes() const {
    std::vector<std::string> notes = m_notes;
    notes.insert(notes.end(), m_soundNotes.begin(), m_soundNotes.end());
    return notes;
}

} // namespace Tarsel::Tools
