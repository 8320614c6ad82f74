// Filter texts of any settings, as FFmpeg's parser reads them: every option of the filter has the value that
// its field has, and no text makes an option or a filter of its own.

#include "Check/Media.h"
#include "Fuzz/Fuzz.h"
#include "Host/EffectSettings.h"
#include "Proc/Interfaces/IOwnWork.h"

extern "C" {
#include <libavfilter/avfilter.h>
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

std::shared_ptr<AVFilterGraph> Parse(std::string const& text) {
    std::shared_ptr<AVFilterGraph> graph(avfilter_graph_alloc(),
                                         [](AVFilterGraph* owned) { avfilter_graph_free(&owned); });
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

/// The number that the field's value stands for; nothing for texts.
std::optional<double> GetNumber(Proc::Field const& field, Proc::FieldValue const& value) {
    if (auto const* const flag = std::get_if<bool>(&value))
        return *flag;
    if (auto const* const integer = std::get_if<std::int64_t>(&value))
        return static_cast<double>(*integer) * field.option.scale + field.option.offset;
    if (auto const* const real = std::get_if<double>(&value))
        return *real * field.option.scale + field.option.offset;
    return std::nullopt;
}

void RequireOption(AVFilterContext& filter, Proc::Settings const& settings, Proc::Field const& field,
                   std::string const& text) {
    std::string const option(field.option.option);
    Proc::FieldValue const value = field.get(settings);
    if (auto const* const word = std::get_if<std::string>(&value)) {
        std::string const got = GetOption(filter, option);
        Require(got == *word, "{}: \"{}\" is \"{}\", not \"{}\"", text, option, got, *word);
        return;
    }
    auto const due = GetNumber(field, value);
    double got = 0;
    if (!due || field.option.form != Proc::FilterOption::Form::Number)
        return;
    Require(av_opt_get_double(filter.priv, option.c_str(), 0, &got) >= 0, "{} has no option {}", text,
            option);
    // Some texts have two digits only, and some filters take 0 for their own choice.
    Require(*due == 0 || std::abs(got - *due) <= 0.051 * std::abs(*due) + 1e-9, "{}: {} is {}, not {}", text,
            option, got, *due);
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
