#include "Tools/Tarsel/LaneMaker.h"

#include "Tools/Tarsel/LoggedLane.h"
#include "Tools/Tarsel/Steps.h"

#include <fmt/format.h>

namespace Tarsel::Tools {

std::unique_ptr<Proc::IEffectStreamVideo>
LaneMaker::Make(Media::VideoStreamInfo const& stream,
                std::vector<SP<Proc::IOneInputEffectVideo>> const& steps) {
    auto lane = std::make_unique<LoggedLane>(m_log, m_notes);
    auto const orientation = stream.orientation.GetOrientation();
    if (orientation && *orientation != 1)
        lane->Append(MakeOrientationEffect(m_effects, stream.orientation), "turning upright");
    if (!orientation)
        m_notes.emplace_back(
            "The input's orientation tag is no mirror and no quarter turn: the effects worked "
            "on the picture as it is stored, and the tag is dropped.");
    for (auto const& step : steps)
        lane->Append(step);
    return lane;
}

bool LaneMaker::HasToTurn(Media::VideoStreamInfo const& stream) {
    auto const orientation = stream.orientation.GetOrientation();
    return !stream.copyObstacle.empty() && orientation && *orientation != 1;
}

std::unique_ptr<Proc::IEffectStreamVideo> LaneMaker::MakeUpright(Media::VideoStreamInfo const& stream) {
    m_notes.push_back(
        fmt::format("The pictures were encoded anew and turned upright: {}.", stream.copyObstacle));
    return Make(stream, {});
}

} // namespace Tarsel::Tools
