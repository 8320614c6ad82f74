#include "Check/RandomSettings.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/CommaLocale.h"
#include "Support/Failure.h"
#include "Support/LibraryEffects.h"

#include <cmath>
#include <limits>
#include <typeinfo>

/// What holds for every settings class of the library.
namespace Tarsel::Proc {

namespace {

template <class Work>
std::string GetRefusal(Work const& work) {
    return Tarsel::Test::TextOf<SettingsException>(work);
}

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

/// The numbers next to both ends of a range: inside or outside.
std::vector<double> NumbersBy(Field const& field, double outwards) {
    std::vector<double> numbers;
    auto const add = [&](double end, double direction) {
        double const beyond = direction * outwards * std::numeric_limits<double>::infinity();
        double const next = field.kind == FieldKind::Integer ? end + direction * outwards
                            : field.single
                                ? std::nextafter(static_cast<float>(end), static_cast<float>(beyond))
                                : std::nextafter(end, beyond);
        if (std::isfinite(next))
            numbers.push_back(next);
    };
    add(field.minimum, -1);
    add(field.maximum, 1);
    return numbers;
}

FieldValue ValueOf(Field const& field, double number) {
    if (field.kind == FieldKind::Integer)
        return static_cast<std::int64_t>(number);
    return number;
}

TEST(EveryClass, NamesItselfAndItsFieldsAndStartsWithTheirDefaults) {
    ForEveryClass([](SettingsClass const& subject) {
        std::unique_ptr<Settings> const settings = subject.Create();
        EXPECT_EQ(settings->GetClassId(), subject.classId);
        EXPECT_EQ(settings->GetFields().data(), subject.fields.data());
        for (Field const& field : subject.fields) {
            EXPECT_EQ(FindField(subject.fields, field.key), &field);
            EXPECT_EQ(field.get(*settings), GetDefault(field)) << field.key;
            EXPECT_NO_THROW(WriteFieldText(*settings, field, ReadFieldText(*settings, field))) << field.key;
        }
        EXPECT_TRUE(settings->IsEqualTo(*subject.Create()));
    });
}

TEST(EveryClass, ComesBackFromItsTextItsPropertyAndItsCopies) {
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

            std::unique_ptr<Settings> const clone = settings->Clone();
            Settings& copy = *clone;
            Settings const& other = *fromText;
            EXPECT_EQ(typeid(copy), typeid(other));
            expectSame(copy);
            SetFieldDefaults(copy, {subject.classId, subject.fields});
            EXPECT_EQ(Serialize(*settings), text);
        }
    });
}

TEST(EveryClass, EqualityNoticesEveryFieldAndTheClass) {
    ForEveryClass([](SettingsClass const& subject) {
        RandomSettings random(99);
        for (Field const& field : subject.fields) {
            std::unique_ptr<Settings> const settings = random.Draw(*subject.initial);
            std::unique_ptr<Settings> const other = settings->Clone();
            FieldValue value = random.Draw(field);
            for (int i = 0; i < 100 && value == field.get(*settings); ++i)
                value = random.Draw(field);
            if (field.words.size() == 1)
                continue;
            WriteField(*other, field, value);
            EXPECT_FALSE(settings->IsEqualTo(*other)) << field.key;
            EXPECT_FALSE(other->IsEqualTo(*settings)) << field.key;
        }
        for (SettingsClass const& other : GetSettingsClasses())
            if (other.classId != subject.classId) {
                EXPECT_THROW((void)subject.Create()->IsEqualTo(*other.Create()), std::bad_cast)
                    << other.classId;
            }
    });
}

TEST(EveryClass, TakesTheEndsOfARangeAndNothingBeyond) {
    ForEveryClass([](SettingsClass const& subject) {
        for (Field const& field : subject.fields) {
            if (field.kind != FieldKind::Integer && field.kind != FieldKind::Real)
                continue;
            std::unique_ptr<Settings> const settings = subject.Create();
            for (double const number : {field.minimum, field.maximum}) {
                WriteField(*settings, field, ValueOf(field, number));
                std::string const text = ReadFieldText(*settings, field);
                EXPECT_NO_THROW(WriteFieldText(*settings, field, text)) << field.key << '=' << text;
            }
            for (double const number : NumbersBy(field, -1))
                EXPECT_NO_THROW(WriteField(*settings, field, ValueOf(field, number))) << field.key;
            std::string const before = Serialize(*settings);
            for (double const number : NumbersBy(field, 1)) {
                FieldValue const value = ValueOf(field, number);
                std::string const text = ToText(field, value);
                std::string const refusal = std::string(subject.classId) + ": " + std::string(field.key) +
                                            "=" + text + " is out of range: " + GetRangeText(field);
                EXPECT_EQ(GetRefusal([&] { WriteField(*settings, field, value); }), refusal);
                EXPECT_EQ(GetRefusal([&] { settings->Deserialize(std::string(field.key) + "=" + text); }),
                          refusal);
            }
            if (field.kind == FieldKind::Real) {
                for (double const number : {std::nan(""), HUGE_VAL, -HUGE_VAL})
                    EXPECT_THROW(WriteField(*settings, field, number), SettingsException) << field.key;
            }
            EXPECT_EQ(Serialize(*settings), before) << field.key;
        }
    });
}

TEST(EveryClass, TakesTheEndsOfAColumnAndNothingBeyond) {
    ForEveryClass([](SettingsClass const& subject) {
        for (Field const& field : subject.fields) {
            for (std::size_t i = 0; i < field.columns.size(); ++i) {
                FieldColumn const& column = field.columns[i];
                if (column.kind == FieldKind::PixelFormat)
                    continue;
                double const step = column.kind == FieldKind::Integer ? 1 : 1e-9;
                auto const write = [&](double number) {
                    std::vector<double> entries;
                    for (FieldColumn const& each : field.columns)
                        entries.push_back(each.maximum);
                    entries.insert(entries.end(), entries.begin(), entries.end());
                    entries[field.columns.size() + i] = number;
                    std::unique_ptr<Settings> const settings = subject.Create();
                    WriteField(*settings, field, entries);
                };
                EXPECT_NO_THROW(write(column.minimum)) << column.key;
                for (double const number : {column.minimum - step, column.maximum + step})
                    EXPECT_EQ(GetRefusal([&] { write(number); }),
                              std::string(subject.classId) + ": " + std::string(field.key) +
                                  ", entry 2: " + std::string(column.key) + "=" + ToText(column, number) +
                                  " is out of range: " + GetRangeText(column));
            }
        }
    });
}

TEST(EveryClass, ReadsAllOrNothing) {
    ForEveryClass([](SettingsClass const& subject) {
        RandomSettings random(12);
        std::string text = "unknown=1";
        for (Field const& field : subject.fields) {
            if (field.kind != FieldKind::Text)
                text = std::string(field.key) + '=' + (field.kind == FieldKind::Matrix ? "1/2" : "nonsense");
        }
        std::string const lastKey = text.substr(0, text.find('='));
        std::string before;
        for (Field const& field : subject.fields) {
            if (field.key != lastKey)
                before += std::string(field.key) + '=' + ToText(field, random.Draw(field)) + ':';
        }
        std::unique_ptr<Settings> const settings = random.Draw(*subject.initial);
        std::unique_ptr<Settings> const untouched = settings->Clone();
        EXPECT_THROW(settings->Deserialize(before + text), SettingsException) << before + text;
        for (Field const& field : subject.fields) {
            Core::Property property{std::string(subject.classId)};
            property.AddChild(Core::Property(std::string(field.key))); // of the wrong type
            EXPECT_THROW(WriteFieldsFromProperty(*settings, property), SettingsException) << field.key;
        }
        EXPECT_TRUE(settings->IsEqualTo(*untouched));
    });
}

} // namespace

} // namespace Tarsel::Proc
