#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/PixFmtDescription.h"
#include "Support/LibraryEffects.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// Settings drawn at random from the tables of their fields; the same ones for the same seed.
namespace Tarsel::Test {

/// Texts for fields of any text: those a file could have for a name, or such as are hard to write and read.
enum class RandomTexts { Plain, Awkward };

class RandomSettings {
public:
    explicit RandomSettings(std::uint32_t seed, RandomTexts texts = RandomTexts::Plain)
        : m_random(seed), m_texts(texts) {}

    /// An object of that class with every field drawn by itself, and again while they contradict one another.
    std::unique_ptr<Proc::Settings> Draw(SettingsClass const& settingsClass) {
        std::unique_ptr<Proc::Settings> settings = settingsClass.Create();
        do {
            for (Proc::Field const& field : settingsClass.fields)
                Proc::WriteField(*settings, field, Draw(field));
        } while (settingsClass.findConflict != nullptr && !settingsClass.findConflict(*settings).empty());
        return settings;
    }

    /// A legal value; each end of a range is likely.
    Proc::FieldValue Draw(Proc::Field const& field) {
        switch (field.kind) {
        case Proc::FieldKind::Flag:
            return Below(2) == 1;
        case Proc::FieldKind::Integer:
            return std::llround(Number(field.minimum, field.maximum, true));
        case Proc::FieldKind::Real:
            return field.single ? Single(field.minimum, field.maximum)
                                : Number(field.minimum, field.maximum, false);
        case Proc::FieldKind::Word:
            return Pick(field.words).value;
        case Proc::FieldKind::Mask: {
            std::int64_t mask = 0;
            for (Proc::FieldWord const& word : field.words)
                mask |= Below(2) == 1 ? word.value : 0;
            return mask;
        }
        case Proc::FieldKind::Text:
            return Text();
        case Proc::FieldKind::Color:
            return Conf::PixColor{Byte(), Byte(), Byte(), Below(2) == 1 ? Byte() : std::uint8_t{255}};
        case Proc::FieldKind::PixelFormat:
            return static_cast<std::int64_t>(Below(4) == 0 ? Conf::PixFmt::None : Format());
        case Proc::FieldKind::ChannelLayout:
            return Below(4) == 0
                       ? std::string()
                       : Conf::ChannelLayout::FromCount(static_cast<std::uint8_t>(1 + Below(8))).GetName();
        case Proc::FieldKind::List:
            return List(field);
        case Proc::FieldKind::Matrix: {
            std::vector<double> words(9);
            for (double& word : words)
                word = Number(std::numeric_limits<std::int32_t>::min(),
                              std::numeric_limits<std::int32_t>::max(), true);
            return words;
        }
        }
        return false;
    }

private:
    std::uint32_t Below(std::uint32_t count) { return static_cast<std::uint32_t>(m_random() % count); }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }

    template <class List>
    typename List::value_type const& Pick(List const& list) {
        return list[Below(static_cast<std::uint32_t>(list.size()))];
    }

    Conf::PixFmt Format() { return Pick(Conf::PixFmtDescription::s_supportedFormats); }

    double Number(double minimum, double maximum, bool whole) {
        switch (Below(8)) {
        case 0:
            return minimum;
        case 1:
            return maximum;
        default: {
            double const share = std::generate_canonical<double, 53>(m_random);
            double const value = minimum * (1 - share) + maximum * share;
            return std::clamp(whole ? std::round(value) : value, minimum, maximum);
        }
        }
    }

    double Single(double minimum, double maximum) {
        auto const value = static_cast<float>(Number(minimum, maximum, false));
        return std::clamp(value, static_cast<float>(minimum), static_cast<float>(maximum));
    }

    std::string Text() {
        static std::vector<std::string> const s_plain{"motion.trf", "/srv/a-b_c.1", "x"};
        static std::vector<std::string> const s_awkward{
            "",   ":",    "\\",  "a\\:b", "C:\\clips\\", "key=value:key", "a|b/c", "\"'[];,%", " a b",
            "\n", "\\\\", "жук", "=",     "\t"};
        return Pick(m_texts == RandomTexts::Plain ? s_plain : s_awkward);
    }

    std::vector<double> List(Proc::Field const& field) {
        std::vector<double> values;
        for (std::uint32_t entries = Below(4); entries > 0; --entries) {
            for (Proc::FieldColumn const& column : field.columns)
                values.push_back(
                    column.kind == Proc::FieldKind::PixelFormat
                        ? static_cast<double>(Format())
                        : Number(column.minimum, column.maximum, column.kind == Proc::FieldKind::Integer));
        }
        return values;
    }

    std::mt19937 m_random;
    RandomTexts m_texts;
};

} // namespace Tarsel::Test
