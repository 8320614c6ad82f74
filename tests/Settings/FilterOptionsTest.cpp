#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/opt.h>
}

/// The tables against FFmpeg: what a row says of a filter's option is what the filter says itself.
namespace Tarsel::Proc {

namespace {

/// The option of that name, or the constant of that name if a unit is given; null when there is none.
AVOption const* Find(std::string_view filterName, std::string_view name, char const* unit) {
    AVFilter const* const filter = avfilter_get_by_name(std::string(filterName).c_str());
    if (filter == nullptr)
        return nullptr;
    AVClass const* filterClass = filter->priv_class;
    return av_opt_find(&filterClass, std::string(name).c_str(), unit, 0, AV_OPT_SEARCH_FAKE_OBJ);
}

AVOption const* FindOption(FilterOption const& option) {
    return Find(option.filter, option.option, nullptr);
}

void ExpectRange(FilterOption const& option, double minimum, double maximum) {
    AVOption const* const of = FindOption(option);
    ASSERT_NE(of, nullptr);
    double low = minimum * option.scale + option.offset;
    double high = maximum * option.scale + option.offset;
    if (low > high)
        std::swap(low, high);
    double const tolerance = 1e-9;
    if (option.narrower.empty()) {
        EXPECT_NEAR(low, of->min, tolerance);
        if (of->max >= HUGE_VALF)
            EXPECT_EQ(high, of->max);
        else
            EXPECT_NEAR(high, of->max, tolerance);
        return;
    }
    EXPECT_GE(low, of->min - tolerance);
    EXPECT_LE(high, of->max + tolerance);
    EXPECT_TRUE(low > of->min + tolerance || high < of->max - tolerance)
        << "says it is narrower, and is not: " << option.narrower;
}

void ExpectWords(Field const& field) {
    AVOption const* const of = FindOption(field.option);
    ASSERT_NE(of, nullptr);
    for (FieldWord const& word : field.words) {
        SCOPED_TRACE(word.text);
        if (word.text == "default")
            continue;
        AVOption const* const constant =
            of->unit == nullptr ? nullptr : Find(field.option.filter, word.text, of->unit);
        bool const byNumber = field.option.form == FilterOption::Form::Number;
        if (byNumber && constant == nullptr) {
            EXPECT_GE(static_cast<double>(word.value), of->min);
            EXPECT_LE(static_cast<double>(word.value), of->max);
            continue;
        }
        ASSERT_NE(constant, nullptr);
        if (byNumber) {
            EXPECT_EQ(constant->default_val.i64, word.value);
        }
    }
}

TEST(FilterOptions, HaveTheRangesAndWordsOfTheTables) {
    int checked = 0;
    for (Tarsel::Test::SettingsClass const& settingsClass : Tarsel::Test::GetSettingsClasses()) {
        for (Field const& field : settingsClass.fields) {
            SCOPED_TRACE(std::string(settingsClass.classId) + ": " + std::string(field.key));
            if (!field.option.filter.empty()) {
                ++checked;
                ASSERT_NE(FindOption(field.option), nullptr);
                if (!field.words.empty())
                    ExpectWords(field);
                else if (field.kind == FieldKind::Integer || field.kind == FieldKind::Real)
                    ExpectRange(field.option, field.minimum, field.maximum);
                else
                    EXPECT_EQ(FindOption(field.option)->type,
                              field.kind == FieldKind::Flag ? AV_OPT_TYPE_BOOL : AV_OPT_TYPE_STRING);
            }
            for (FieldColumn const& column : field.columns) {
                if (!column.option.filter.empty()) {
                    ++checked;
                    ExpectRange(column.option, column.minimum, column.maximum);
                }
            }
        }
    }
    EXPECT_GT(checked, 100);
}

} // namespace

} // namespace Tarsel::Proc
