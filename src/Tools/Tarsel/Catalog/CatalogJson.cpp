#include "Core/Text.h"
#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Catalog/Examples.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a member changes its meaning or goes, not when one is added.
constexpr int s_catalogVersion = 1;

std::vector<std::string> SplitKeywords(std::string_view keywords) {
    std::vector<std::string> words;
    for (std::string_view rest = keywords; !rest.empty();) {
        std::size_t const end = std::min(rest.find(' '), rest.size());
        words.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return words;
}

bool IsNumber(Proc::FieldKind kind) noexcept {
    return kind == Proc::FieldKind::Integer || kind == Proc::FieldKind::Real;
}

/// Whole numbers are written without a decimal point.
Json NumberToJson(double value) {
    constexpr double exact = 9007199254740992.0;
    if (std::abs(value) <= exact && std::trunc(value) == value)
        return static_cast<std::int64_t>(value);
    return value;
}

/// An end of a range; null for none.
Json BoundToJson(Proc::FieldKind kind, double bound) {
    if (!IsNumber(kind) || std::abs(bound) >= std::numeric_limits<double>::max())
        return nullptr;
    return NumberToJson(bound);
}

Json DefaultToJson(Proc::Field const& field) {
    Proc::FieldValue const value = GetDefault(field);
    std::string const text = ToText(field, value);
    if (field.kind == Proc::FieldKind::Flag)
        return std::get<bool>(value);
    // By way of the text, which has the digits that were meant also for single precision.
    if (auto const number = Core::TextToDouble(text); IsNumber(field.kind) && number)
        return NumberToJson(*number);
    return text;
}

Json FieldToJson(Proc::Field const& field) {
    Json words = Json::array();
    for (Proc::FieldWord const& word : field.words)
        words.push_back({{"word", word.text}, {"value", word.value}, {"help", word.help}});
    Json columns = Json::array();
    for (Proc::FieldColumn const& column : field.columns)
        columns.push_back({{"key", column.key},
                           {"kind", GetName(column.kind)},
                           {"minimum", BoundToJson(column.kind, column.minimum)},
                           {"maximum", BoundToJson(column.kind, column.maximum)},
                           {"unit", column.unit},
                           {"help", column.help}});
    return {{"key", field.key},
            {"kind", GetName(field.kind)},
            {"default", DefaultToJson(field)},
            {"minimum", BoundToJson(field.kind, field.minimum)},
            {"maximum", BoundToJson(field.kind, field.maximum)},
            {"unit", field.unit},
            {"help", field.help},
            {"words", std::move(words)},
            {"columns", std::move(columns)}};
}

/// Null: without end.
Json ReachToJson(std::int32_t frames) {
    return frames == Proc::EffectTraits::s_withoutEnd ? Json(nullptr) : Json(frames);
}

Json TraitsToJson(std::optional<Proc::EffectTraits> const& traits) {
    if (!traits)
        return nullptr;
    return {{"takes", GetName(traits->takes)},
            {"evenSize", traits->evenSize},
            {"roundsToChroma", traits->roundsToChroma},
            {"alpha", GetName(traits->alpha)},
            {"depth", GetName(traits->depth)},
            {"range", GetName(traits->range)},
            {"size", GetName(traits->size)},
            {"frameIndependent", traits->frameIndependent},
            {"delayFrames", traits->delayFrames},
            {"delayMicroseconds", traits->delayTime},
            {"tail", traits->tail},
            {"framesPerFrame", traits->framesPerFrame},
            {"slices", traits->slices},
            {"looksBack", ReachToJson(traits->frameIndependent ? 0 : traits->looksBack)},
            {"looksAhead", ReachToJson(traits->frameIndependent ? 0 : traits->looksAhead)}};
}

} // namespace

std::string CatalogToJson(Effects const& effects, std::vector<CatalogEntry> const& entries) {
    Json list = Json::array();
    for (CatalogEntry const& entry : entries) {
        Json parameters = Json::array();
        for (Proc::Field const& field : entry.fields)
            parameters.push_back(FieldToJson(field));
        list.push_back({{"id", entry.classId},
                        {"implementation", entry.implName},
                        {"kind", GetName(entry.kind)},
                        {"summary", entry.traits ? entry.traits->summary : std::string_view()},
                        {"keywords", SplitKeywords(entry.keywords)},
                        {"traits", TraitsToJson(entry.traits)},
                        {"facts", DescribeFacts(entry)},
                        {"parameters", std::move(parameters)},
                        {"examples", GetExamples(entry)}});
    }
    Json const document{
        {"version", s_catalogVersion}, {"plugin", effects.plugin.string()}, {"effects", std::move(list)}};
    // A path need not be UTF-8.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Tarsel::Tools
