#include "Tools/Tarsel/Preview/VideoPreview.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Host/EffectRules.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Tools/Tarsel/Chain/MotionFiles.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Preview/FrameCapture.h"
#include "Tools/Tarsel/Preview/Pictures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Frame = SP<Proc::IDataVideo>;

/// A panel before it is known how large panels are. One of the frames may be null: then the other is shown.
struct PlannedPanel {
    PreviewStyle style;
    Frame before;
    Frame after;
    std::string label;
};
using PlannedRow = std::vector<PlannedPanel>;

Size SizeOf(Frame const& frame) {
    return GetShownSize(*frame, 1);
}

std::uint32_t WidthOf(PlannedPanel const& panel) {
    return SizeOf(panel.after ? panel.after : panel.before).width;
}

class Planner {
public:
    Planner(Variants const& variants, VideoPreviewRequest const& request)
        : m_variants(variants), m_style(request.style), m_tellsTimes(!request.times.empty()) {}

    PlannedRow Plan(Moment const& moment) {
        PlannedRow row;
        Frame const& before = moment.frames.front();
        std::string const time =
            m_tellsTimes ? fmt::format(", {} s", Core::NumberToText(static_cast<double>(moment.time) / 1e6))
                         : "";
        auto const isOfOneSize = [&](Frame const& frame) { return frame && SizeOf(frame) == SizeOf(before); };
        bool const compares = m_style == PreviewStyle::Split || m_style == PreviewStyle::Difference;
        bool const areOfOneSize = std::ranges::all_of(moment.frames, isOfOneSize);
        m_hasOtherSizes = m_hasOtherSizes || (compares && !areOfOneSize);
        PreviewStyle const style = compares && !areOfOneSize ? PreviewStyle::Side : m_style;
        if (style == PreviewStyle::Side)
            row.push_back({PreviewStyle::After, before, {}, "before" + time});
        for (std::size_t i = 0; i < m_variants.steps.size(); ++i) {
            Frame const& after = moment.frames[i + 1];
            if (!after)
                Core::Throw<Media::OptionsException>("There is nothing to show: the effects give no frames");
            std::string label = m_variants.labels[i];
            if (label.empty())
                label = DescribeSteps(m_variants.steps[i], moment.time);
            switch (style) {
            case PreviewStyle::Split:
                row.push_back({style, before, after, fmt::format("before | {}{}", label, time)});
                break;
            case PreviewStyle::Difference:
                row.push_back({style, before, after, label + time});
                break;
            case PreviewStyle::Side:
            case PreviewStyle::After:
                row.push_back({PreviewStyle::After, {}, after, row.empty() ? label + time : label});
                break;
            }
        }
        return row;
    }

    bool HasOtherSizes() const noexcept { return m_hasOtherSizes; }

private:
    Variants const& m_variants;
    PreviewStyle m_style;
    bool m_tellsTimes;
    bool m_hasOtherSizes = false;
};

Panel Draw(PlannedPanel const& planned, double scale) {
    auto const show = [&](Frame const& frame) { return ToRgb(frame, GetShownSize(*frame, scale)); };
    if (planned.style == PreviewStyle::Split)
        return {DrawSplit(*show(planned.before), *show(planned.after)), planned.label};
    if (planned.style != PreviewStyle::Difference)
        return {show(planned.after ? planned.after : planned.before), planned.label};
    // At their own size: what is scaled differs less.
    Difference const difference = Subtract(*ToRgb(planned.before, SizeOf(planned.before)),
                                           *ToRgb(planned.after, SizeOf(planned.after)));
    return {show(difference.picture),
            difference.largest == 0
                ? "no difference: " + planned.label
                : fmt::format("difference x{} (largest {}, mean {:.2f} of 255): {}", difference.gain,
                              difference.largest, difference.mean, planned.label)};
}

/// By which panels are scaled so that the widest row has that width.
double ChooseScale(std::vector<PlannedRow> const& rows, std::uint32_t width) {
    double scale = 0;
    for (PlannedRow const& row : rows) {
        double sum = 0;
        for (PlannedPanel const& panel : row)
            sum += WidthOf(panel);
        double const gaps = s_sheetGap * (static_cast<double>(row.size()) + 1);
        double const own = std::max(1.0, (width != 0 ? width : s_mostOwnWidth) - gaps) / sum;
        double const each = width != 0 ? own : std::min(own, 1.0);
        scale = scale == 0 ? each : std::min(scale, each);
    }
    return scale;
}

} // namespace

bool DependsOnOtherFrames(VideoStep const& step) {
    auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(step.effect.get());
    return details == nullptr || !details->GetTraits().frameIndependent ||
           !Host::HoldsNothing(details->GetTraits());
}

PreviewResult DrawVideoPreview(ChainMaker& maker, Variants const& variants,
                               VideoPreviewRequest const& request, std::stop_token const& stop) {
    PrivateFolder const folder;
    References references;
    std::vector<std::vector<VideoStep>> steps(1); // those of the frames before
    for (std::vector<AskedStep> const& asked : variants.steps) {
        steps.push_back(MakePictureSteps(maker.GetEffects(), asked, references));
        KeepMotionPrivate(steps.back(), folder);
        CheckMotionFiles(steps.back(), request.outputs);
    }
    CaptureRequest capture{request.input, request.times, {}, false, request.onProgress};
    capture.isFrameIndependent = std::ranges::none_of(
        steps, [](auto const& each) { return std::ranges::any_of(each, DependsOnOtherFrames); });
    capture.makeChains = [&](Media::VideoStreamInfo const& stream) {
        references.Open(maker.GetEffects(), stream.start, stop);
        std::vector<std::unique_ptr<Proc::IEffectStreamVideo>> chains;
        for (std::vector<VideoStep> const& each : steps) {
            if (variants.steps.size() == 1) // values of a sweep may do nothing
                (void)maker.NoteIdleSteps(stream, each);
            chains.push_back(maker.Make(stream, each));
        }
        return chains;
    };

    Planner planner(variants, request);
    std::vector<PlannedRow> planned;
    for (Moment const& moment : CaptureFrames(capture, stop))
        planned.push_back(planner.Plan(moment));
    double const scale = ChooseScale(planned, request.width);
    std::vector<std::vector<Panel>> rows;
    for (PlannedRow const& row : planned) {
        rows.emplace_back();
        for (PlannedPanel const& panel : row)
            rows.back().push_back(Draw(panel, scale));
    }
    PreviewResult result{DrawSheet(rows, request.width), maker.GetNotes()};
    for (std::string& note : references.GetNotes())
        result.notes.push_back(std::move(note));
    if (planner.HasOtherSizes())
        result.notes.emplace_back("The effects change the size: frames are shown beside one another.");
    return result;
}

} // namespace Tarsel::Tools
