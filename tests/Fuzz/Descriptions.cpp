// Filter texts of any settings, as FFmpeg's parser reads them: every option of the filter has the value that
// its field has, and no text makes an option or a filter of its own.

#include "Check/Data.h"
#include "Core/Text.h"
#include "Fuzz/Fuzz.h"
#include "Host/EffectSettings.h"
#include "Proc/Interfaces/IOwnWork.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

#include <cmath>
#include <optional>

namespace Tarsel::Fuzz {
namespace {

/// What the effect says that it would do with the data; nothing where that is no text of FFmpeg's filters.
template <class Medium>
std::optional<std::string> Describe(Proc::IEffect const& effect, Draws& draws) {
    auto const* const details = dynamic_cast<typename Medium::Details const*>(&effect);
    if (details == nullptr || dynamic_cast<Proc::IOwnWork const*>(&effect) != nullptr)
        return std::nullopt;
    auto const forms = Check::GetForms(Medium(), 10);
    std::string text;
    auto const format = Check::MakeFormat(draws.Pick(forms));
    bool const isTold = Succeeds([&] { text = details->Describe(*format); });
    return isTold && !text.empty() ? std::optional(text) : std::nullopt;
}

std::shared_ptr<AVFilterGraph> MakeGraph() {
    return {avfilter_graph_alloc(), [](AVFilterGraph* graph) { avfilter_graph_free(&graph); }};
}

std::shared_ptr<AVFilterGraph> Parse(std::string const& text) {
    std::shared_ptr<AVFilterGraph> graph = MakeGraph();
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int const result = avfilter_graph_parse2(graph.get(), text.c_str(), &inputs, &outputs);
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    Require(result >= 0, "FFmpeg cannot read \"{}\"", text);
    return graph;
}

/// The only one of that name, or null.
AVFilterContext* FindFilter(AVFilterGraph const& graph, std::string_view name) {
    AVFilterContext* found = nullptr;
    for (unsigned i = 0; i < graph.nb_filters; ++i) {
        if (graph.filters[i]->filter->name != name)
            continue;
        if (found != nullptr)
            return nullptr;
        found = graph.filters[i];
    }
    return found;
}

std::string GetOption(AVFilterContext& filter, std::string const& option) {
    std::uint8_t* text = nullptr;
    Require(av_opt_get(filter.priv, option.c_str(), 0, &text) >= 0, "{} has no option {}",
            filter.filter->name, option);
    std::unique_ptr<std::uint8_t, decltype(&av_free)> const owner(text, &av_free);
    return reinterpret_cast<char const*>(text);
}

/// The option's value as text for the filter; nothing where it goes another way than by its number or text.
std::optional<std::string> GetValue(Proc::Field const& field, Proc::FieldValue const& value) {
    auto const scaled = [&](double number) {
        return Core::NumberToText(number * field.option.scale + field.option.offset);
    };
    if (field.option.form != Proc::FilterOption::Form::Number)
        return std::nullopt;
    if (auto const* const flag = std::get_if<bool>(&value))
        return scaled(*flag);
    if (auto const* const integer = std::get_if<std::int64_t>(&value))
        return scaled(static_cast<double>(*integer));
    if (auto const* const real = std::get_if<double>(&value))
        return scaled(*real);
    auto const* const text = std::get_if<std::string>(&value);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

/// What a filter makes of an option, whatever it then does with it; nothing where it wants others besides.
std::optional<std::string> GetRead(AVFilter const& filter, std::string const& option,
                                   std::string const& value) {
    std::shared_ptr<AVFilterGraph> const graph = MakeGraph();
    AVFilterContext* const made = avfilter_graph_alloc_filter(graph.get(), &filter, "made");
    AVDictionary* options = nullptr;
    bool const isMade = av_dict_set(&options, option.c_str(), value.c_str(), 0) >= 0 &&
                        avfilter_init_dict(made, &options) >= 0;
    av_dict_free(&options);
    return isMade ? std::optional(GetOption(*made, option)) : std::nullopt;
}

bool IsAlike(std::string const& got, std::string const& due) {
    std::optional<double> const number = Core::TextToDouble(got);
    std::optional<double> const other = Core::TextToDouble(due);
    if (!number || !other)
        return got == due;
    // Some texts have two digits only, and some filters take 0 for their own choice.
    return *other == 0 || std::abs(*number - *other) <= 0.051 * std::abs(*other) + 1e-6;
}

void RequireOption(AVFilterContext& filter, Proc::Settings const& settings, Proc::Field const& field,
                   std::string const& text) {
    std::string const option(field.option.option);
    auto const value = GetValue(field, field.get(settings));
    auto const due = value ? GetRead(*filter.filter, option, *value) : std::nullopt;
    if (!due)
        return;
    std::string const got = GetOption(filter, option);
    Require(IsAlike(got, *due), "{}: {} is \"{}\", not \"{}\"", text, option, got, *due);
}

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    av_log_set_level(AV_LOG_QUIET);
    SP<Proc::IEffect> const effect =
        Test::CreateEffect(draws.Pick(Test::GetFactory()->GetRegistry().GetEntries()));
    std::unique_ptr<Proc::Settings> const settings = draws.DrawSettings(effect->GetSettingsBase());
    for (Proc::Field const& field : settings->GetFields())
        if (field.kind == Proc::FieldKind::Text)
            Proc::WriteField(*settings, field, draws.Text(16));
    if (!Fuzz::Succeeds([&] { Host::SetEffectSettings(*effect, *settings); }))
        return;
    auto const text = effect->GetInputFrameType() == Proc::IEffect::VideoFrames
                          ? Fuzz::Describe<Check::Video>(*effect, draws)
                          : Fuzz::Describe<Check::Audio>(*effect, draws);
    if (!text)
        return;
    auto const graph = Fuzz::Parse(*text);
    for (Proc::Field const& field : settings->GetFields())
        if (auto* const filter = Fuzz::FindFilter(*graph, field.option.filter))
            Fuzz::RequireOption(*filter, *settings, field, *text);
}
