#include "Proc/Effects/Lumenta/Base/FastWay.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Effects/Lumenta/Graph/FilterError.h"
#include "Proc/Effects/Lumenta/Graph/FrameFault.h"
#include "Proc/Effects/Lumenta/Graph/GraphInput.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwsContext.h"

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

PlanePair GetPlanes(AVFrame const& from, AVFrame& to, int plane) {
    auto const& pixels = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(from.format));
    return {{from.data[plane], from.linesize[plane]},
            {to.data[plane], to.linesize[plane]},
            pixels.GetPlanWidth(plane, static_cast<std::uint32_t>(to.width)),
            pixels.GetPlanHeight(plane, static_cast<std::uint32_t>(to.height))};
}

bool IsStretchedToGray(AVFrame const& frame) {
    SwsCtxSide const side = SideOf(frame);
    auto const& pixels = Conf::PixFmtDescription::Find(side.format);
    return !pixels.IsGray() && !pixels.IsFullRange(side.space);
}

SP<IDataVideo> RunFastWay(FastWay const& way, IDataVideo const& data) {
    AVFrame const& from = Details::GetAVFrameRef(data.GetAVFrame());
    if (std::string const fault = FindFrameFault(data, from, "Frame"); !fault.empty())
        Core::Throw<EffectException>(fault, TagFilterText(way.description));
    Details::RequireWholeRows(from);
    Conf::FrameInfo info = data.GetFrameInfo(); // no larger than the frame
    Conf::FrameInfo const stated = GetStatedInfo(data, from);
    info.aspectNum = stated.aspectNum;
    info.aspectDen = stated.aspectDen;
    SafeFrame to({}, way.result, info.width, info.height, info.aspectNum, info.aspectDen);
    to.CopyProperties(from);
    to->sample_aspect_ratio = {static_cast<int>(info.aspectNum), static_cast<int>(info.aspectDen)};
    if (from.format != to->format)
        to->color_range = AVCOL_RANGE_JPEG; // the results are gray, which filters' scalers make of full range
    way.run(from, *to);
    SP<IDataVideo> result = MakeSP<DataVideoFF>(std::move(to), info);
    result->SetTime(data.GetTime());
    result->SetDuration(data.GetDuration());
    return result;
}

} // namespace Tarsel::Proc
