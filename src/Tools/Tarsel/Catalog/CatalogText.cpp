#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Catalog/Examples.h"
#include "Tools/Tarsel/Console/TextLayout.h"

#include <fmt/format.h>

#include <algorithm>

namespace Tarsel::Tools {
namespace {

constexpr std::size_t s_indent = 2;

/// Keys up to this length share one column; help starts behind it.
constexpr std::size_t s_maxKey = 20;

template <class Rows, class Key>
std::size_t GetKeyColumn(Rows const& rows, Key Rows::value_type::*key, std::size_t indent) {
    std::size_t longest = 0;
    for (auto const& row : rows)
        longest = std::max(longest, std::min((row.*key).size(), s_maxKey));
    return indent + longest + 2;
}

std::string Lead(std::size_t indent, std::string_view key) {
    return std::string(indent, ' ').append(key);
}

/// "integer, 0 to 3 (quarter turns), default 0"; the words of an enumeration have lines of their own.
std::string DescribeValues(Proc::Field const& field) {
    std::string text(GetName(field.kind));
    if (field.words.empty())
        text += ", " + GetRangeText(field);
    std::string const initial = ToText(field, GetDefault(field));
    return text + ", default " + (initial.empty() ? "none" : initial);
}

void AppendField(std::string& out, Proc::Field const& field, std::size_t keyColumn, std::size_t columns) {
    AppendWrapped(out, Lead(2 * s_indent, field.key), keyColumn, field.help, columns);
    AppendWrapped(out, {}, keyColumn, DescribeValues(field), columns);

    std::size_t const inner = keyColumn + s_indent;
    std::size_t const wordColumn = GetKeyColumn(field.words, &Proc::FieldWord::text, inner);
    for (Proc::FieldWord const& word : field.words)
        AppendWrapped(out, Lead(inner, word.text), wordColumn, word.help, columns);
    std::size_t const columnColumn = GetKeyColumn(field.columns, &Proc::FieldColumn::key, inner);
    for (Proc::FieldColumn const& column : field.columns)
        AppendWrapped(out, Lead(inner, column.key), columnColumn,
                      fmt::format("{}: {}", GetRangeText(column), column.help), columns);
}

} // namespace

std::string FormatOverview(std::vector<CatalogEntry> const& entries, std::size_t columns) {
    using Host::EffectKind;
    std::size_t const column = GetKeyColumn(entries, &CatalogEntry::classId, 0);
    std::string out;
    for (EffectKind const kind :
         {EffectKind::Video, EffectKind::TwoInputVideo, EffectKind::Audio, EffectKind::TwoInputAudio}) {
        if (std::ranges::count(entries, kind, &CatalogEntry::kind) == 0)
            continue;
        out += fmt::format("{}{}:\n", out.empty() ? "" : "\n", GetName(kind));
        for (CatalogEntry const& entry : entries)
            if (entry.kind == kind)
                AppendWrapped(out, entry.classId, column,
                              entry.traits ? entry.traits->summary : std::string_view(), columns);
    }
    return out + "\n\"tarsel list EFFECT\" shows the parameters of an effect, \"tarsel list --all\"\n"
                 "those of all; other words are searched for: \"tarsel list black and white\".\n";
}

std::string FormatCatalog(std::vector<CatalogEntry> const& entries, std::size_t columns) {
    std::string out;
    for (CatalogEntry const& entry : entries) {
        if (!out.empty())
            out += '\n';
        out += fmt::format("{} ({})\n", entry.classId, GetName(entry.kind));
        AppendWrapped(out, {}, s_indent, entry.traits ? entry.traits->summary : std::string_view(), columns);
        if (std::vector<std::string> const facts = DescribeFacts(entry); !facts.empty())
            AppendWrapped(out, {}, s_indent, fmt::format("It {}.", fmt::join(facts, "; ")), columns);
        std::size_t const keyColumn = GetKeyColumn(entry.fields, &Proc::Field::key, 2 * s_indent);
        for (Proc::Field const& field : entry.fields)
            AppendField(out, field, keyColumn, columns);
        if (std::vector<std::string> const examples = GetExamples(entry); !examples.empty()) {
            out += "  Examples:\n";
            for (std::string const& example : examples)
                AppendWrapped(out, {}, 2 * s_indent, example, columns);
        }
    }
    return out;
}

} // namespace Tarsel::Tools
