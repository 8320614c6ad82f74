// Filter texts of any settings, as FFmpeg's parser reads them: every option of the filter has the value that
// its field has, and no text makes an option or a filter of its own.

#include "Check/Data.h"
#include "Core/Text.h"
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

std::shared_ptr<AVFilterGraph> MakeGraph() {
    return {avfilter_graph_alloc(), [](AVFilterGraph* graph) { avfilter_graph_free(&graph); }};
}

/// Null where FFmpeg refuses it.
std::shared_ptr<AVFilterGraph> Parse(std::string const& text) {
    std::shared_ptr<AVFilterGraph> graph = MakeGraph();
    AVFilterInOut* inputs = nullptr;
    AVFilterInOut* outputs = nullptr;
    int const result = avfilter_graph_parse2(graph.get(), text.c_str(), &inputs, &outputs);
    avfilter_inout_free(&inputs);
    avfilter_inout_free(&outputs);
    return result >= 0 ? graph : nullptr; // what is out of an option's range is refused with the data
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
    double number = 0;
    if (av_opt_get_double(filter.priv, option.c_str(), 0, &number) >= 0)
        return Core::NumberToText(number);
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

/// Filters whose options are set and which do nothing with them yet.
class UnstartedFilter {
public:
    explicit UnstartedFilter(AVFilter const& filter)
        : m_graph(MakeGraph()), m_filter(avfilter_graph_alloc_filter(m_graph.get(), &filter, "made")) {}

    /// "1:key=2", as in a filter text.
    bool Read(std::string const& arguments) {
        std::vector<char const*> names;
        AVOption const* last = nullptr;
        for (AVOption const* each = av_opt_next(m_filter->priv, nullptr); each != nullptr;
             each = av_opt_next(m_filter->priv, each)) {
            // Of several names of one option the first is that without a key.
            if (each->type != AV_OPT_TYPE_CONST && (last == nullptr || last->offset != each->offset))
                names.push_back(each->name);
            last = each->type != AV_OPT_TYPE_CONST ? each : last;
        }
        names.push_back(nullptr);
        return av_opt_set_from_string(m_filter->priv, arguments.c_str(), names.data(), "=", ":") >= 0;
    }
    bool Set(std::string const& option, std::string const& value) {
        return av_opt_set(m_filter->priv, option.c_str(), value.c_str(), 0) >= 0;
    }
    std::string Get(std::string const& option) { return GetOption(*m_filter, option); }

private:
    std::shared_ptr<AVFilterGraph> m_graph;
    AVFilterContext* m_filter;
};

/// What follows the filter's name in the text.
std::string FindArguments(std::string const& text, std::string const& name) {
    std::size_t const at = text.find(name + '=');
    if (at == std::string::npos)
        return {};
    std::size_t const first = at + name.size() + 1;
    return text.substr(first, text.find_first_of(",;[", first) - first);
}

/// As exactly as texts have it, which have two digits or whole numbers for some fields.
bool IsAlike(Proc::Field const& field, std::string const& got, std::string const& due) {
    std::optional<double> const number = Core::TextToDouble(got);
    std::optional<double> const other = Core::TextToDouble(due);
    if (!number || !other)
        return got == due;
    bool const isWhole = field.help.find("whole") != std::string_view::npos ||
                         (field.option.scale != 1 && *number == std::trunc(*number));
    return std::abs(*number - *other) <= (isWhole ? 1 : 0.051 * std::abs(*other) + 0.011);
}

void RequireOption(AVFilter const& filter, Proc::Settings const& settings, Proc::Field const& field,
                   std::string const& text) {
    std::string const option(field.option.option);
    auto const value = GetValue(field, field.get(settings));
    UnstartedFilter read(filter);
    UnstartedFilter made(filter);
    // Left out are 0, which may be the filter's own choice, and what takes part in another field.
    if (!value || *value == "0" || field.help.find("times") != std::string_view::npos ||
        !read.Read(FindArguments(text, filter.name)) || !made.Set(option, *value))
        return;
    Require(IsAlike(field, read.Get(option), made.Get(option)), "{}: {} is \"{}\", not \"{}\"", text, option,
            read.Get(option), made.Get(option));
}

} // namespace
} // namespace Tarsel::Fuzz

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    av_log_set_level(AV_LOG_QUIET);
    SP<Proc::IEffect> const effect =
        Test::CreateEffect(draws.Pick(Test::GetFactory()->GetRegistry().GetEntries()));
    std::unique_ptr<Proc::Settings> const settings = draws.DrawSettings(effect->GetSettingsBase());
    // Fields that are no filter's own say what others mean.
    bool const isPlain = draws.OneIn(2);
    for (Proc::Field const& field : settings->GetFields()) {
        if (field.kind == Proc::FieldKind::Text)
            Proc::WriteField(*settings, field, draws.Text(16));
        else if (isPlain && field.option.filter.empty())
            Proc::WriteField(*settings, field, Proc::GetDefault(field));
    }
    if (!Fuzz::Succeeds([&] { Host::SetEffectSettings(*effect, *settings); }))
        return;
    auto const text = effect->GetInputFrameType() == Proc::IEffect::VideoFrames
                          ? Fuzz::Describe<Check::Video>(*effect, draws)
                          : Fuzz::Describe<Check::Audio>(*effect, draws);
    if (!text)
        return;
    auto const graph = Fuzz::Parse(*text);
    if (!graph || !isPlain)
        return;
    for (Proc::Field const& field : settings->GetFields())
        if (auto* const filter = Fuzz::FindFilter(*graph, field.option.filter))
            Fuzz::RequireOption(*filter->filter, *settings, field, *text);
}
