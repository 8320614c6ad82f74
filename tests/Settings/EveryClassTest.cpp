#include "Check/RandomSettings.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/CommaLocale.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <typeinfo>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/opt.h>
}

/// What holds for every settings class of the library.
namespace Tarsel::Proc {

namespace {

using Tarsel::Check::RandomSettings;
using Tarsel::Check::RandomTexts;
using Tarsel::Test::GetSettingsClasses;
using Tarsel::Test::SettingsClass;

template <class Check>
void ForEveryClass(Check const& check) {
    for (SettingsClass const& settingsClass : GetSettingsClasses()) {
        SCOPED_TRACE(settingsClass.classId);
        check(settingsClass);
    }
}

TEST(EveryClass, NamesItselfAndItsFieldsAndStartsWithTheirDefaults) {
    ForEveryClass([](SettingsClass const& subject) {
        std::unique_ptr<Settings> const settings = subject.Create();
        EXPECT_EQ(settings->GetClassId(), subject.classId);
        EXPECT_EQ(settings->GetFields().data(), subject.fields.data());
        for (Field const& field : subject.fields) {
            EXPECT_EQ(FindField(subject.fields, field.key), &field);
            EXPECT_EQ(field.get(*settings), GetDefault(field)) << field.key;
        }
    });
}

TEST(EveryClass, ComesBackFromItsTextAndItsProperty) {
    ForEveryClass([](SettingsClass const& subject) {
        RandomSettings random(4711, RandomTexts::Awkward);
        for (int i = 0; i < 40; ++i) {
            std::unique_ptr<Settings> const settings = random.Draw(*subject.initial);
            std::string const text = Serialize(*settings);
            SCOPED_TRACE(text);
            auto const expectSame = [&](Settings const& back) {
                EXPECT_TRUE(back.IsEqualTo(*settings));
                EXPECT_EQ(Serialize(back), text);
            };
            std::unique_ptr<Settings> const fromText = subject.Create();
            {
                Tarsel::Test::CommaLocale const comma;
                EXPECT_EQ(Serialize(*settings), text);
                fromText->Deserialize(text);
            }
            expectSame(*fromText);

            Core::Property property = Settings2Property(*settings);
            EXPECT_EQ(property.GetName(), subject.classId);
            property.SetChildT("typeId", std::string("another reader's"));
            std::unique_ptr<Settings> const fromProperty = subject.Create();
            WriteFieldsFromProperty(*fromProperty, property);
            expectSame(*fromProperty);
        }
    });
}

TEST(EveryClass, EqualityNoticesEveryFieldAndTheClass) {
    ForEveryClass([](SettingsClass const& subject) {
        RandomSettings random(99);
        for (Field const& field : subject.fields) {
            std::unique_ptr<Settings> const settings = random.Draw(*subject.initial);
            std::unique_ptr<Settings> const other = settings->Clone();
            while (field.words.size() != 1 && field.get(*other) == field.get(*settings))
                WriteField(*other, field, random.Draw(field));
            EXPECT_EQ(settings->IsEqualTo(*other), field.words.size() == 1) << field.key;
            EXPECT_EQ(other->IsEqualTo(*settings), field.words.size() == 1) << field.key;
        }
        for (SettingsClass const& other : GetSettingsClasses())
            if (other.classId != subject.classId) {
                EXPECT_THROW((void)subject.Create()->IsEqualTo(*other.Create()), std::bad_cast)
                    << other.classId;
            }
    });
}

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

/// What a row says of a filter's option is what the filter says itself.
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
