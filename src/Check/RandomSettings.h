#pragma once

#include "Conf/ChannelLayout.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// Settings drawn at random from the tables of their fields; the same ones for the same seed.
namespace Tarsel::Check {

/// Texts for fields of any text: those a file could have for a name, or such as are hard to write and read.
enum class RandomTexts : std::uint8_t { Plain, Awkward };

/// Which numbers: any that are legal, or those near the default, which take an effect little time.
enum class RandomReach : std::uint8_t { Legal, Near };

/// `Random` makes the numbers, 32 bits each; a reference where it is the caller's.
template <class Random = std::mt19937>
class RandomSettings {
public:
    explicit RandomSettings(std::uint32_t seed, RandomTexts texts = RandomTexts::Plain)
        : m_random(seed), m_texts(texts) {}
    /// Takes its seed from a generator that goes on.
    explicit RandomSettings(std::mt19937& random, RandomReach reach = RandomReach::Legal)
        : m_random(random()), m_reach(reach) {}
    RandomSettings(Random random, RandomTexts texts, RandomReach reach)
        : m_random(random), m_texts(texts), m_reach(reach) {}

    /// Settings of the class of `from`, every field drawn by itself (every other one where they are to be
    /// near the default), and again while they contradict one another.
    std::unique_ptr<Proc::Settings> Draw(Proc::Settings const& from) {
        std::unique_ptr<Proc::Settings> settings = from.Clone();
        auto const findConflict = settings->GetClassTable().findConflict;
        do {
            for (Proc::Field const& field : settings->GetFields())
                if (m_reach == RandomReach::Legal || Below(2) == 0)
                    Proc::WriteField(*settings, field, Draw(field));
        } while (findConflict != nullptr && !findConflict(*settings).empty());
        return settings;
    }

    /// A legal value; each end of a range is likely.
    Proc::FieldValue Draw(Proc::Field const& field) {
        switch (field.kind) {
        case Proc::FieldKind::Flag:
            return Below(2) == 1;
        case Proc::FieldKind::Integer:
            return std::llround(Number(GetRange(field), true));
        case Proc::FieldKind::Real:
            return field.single ? Single(GetRange(field)) : Number(GetRange(field), false);
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
                word = Number(
                    {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()},
                    true);
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

    struct Range {
        double least;
        double most;
    };
    /// Near the default: a tenth of the range to either side, of wide ones 10.
    Range GetRange(Proc::Field const& field) const {
        if (m_reach == RandomReach::Legal)
            return {field.minimum, field.maximum};
        double const reach = std::min(std::max((field.maximum - field.minimum) / 10, 1.0), 10.0);
        return {std::max(field.minimum, field.initial.number - reach),
                std::min(field.maximum, field.initial.number + reach)};
    }

    double Number(Range range, bool whole) {
        switch (Below(8)) {
        case 0:
            return range.least;
        case 1:
            return range.most;
        default: {
            double const share = std::generate_canonical<double, 53>(m_random);
            double const value = range.least * (1 - share) + range.most * share;
            return std::clamp(whole ? std::round(value) : value, range.least, range.most);
        }
        }
    }

    double Single(Range range) {
        auto const value = static_cast<float>(Number(range, false));
        return std::clamp(value, static_cast<float>(range.least), static_cast<float>(range.most));
    }

    std::string Text() {
        static std::vector<std::string> const s_plain{"motion.trf", "a-b_c.1", "x"};
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
                        : Number({column.minimum, column.maximum}, column.kind == Proc::FieldKind::Integer));
        }
        return values;
    }

    Random m_random;
    RandomTexts m_texts = RandomTexts::Plain;
    RandomReach m_reach = RandomReach::Legal;
};

} // namespace Tarsel::Check
