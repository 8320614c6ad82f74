#include "Tools/Tarsel/Preview/Sheet.h"

#include "Tools/Tarsel/Preview/Font.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <sstream>

namespace Tarsel::Tools {
namespace {

constexpr Color s_sheetColor{16, 20, 24};
constexpr Color s_labelColor{236, 240, 244};

using Lines = std::vector<std::string>;

Size SizeOf(Panel const& panel) {
    auto const info = panel.picture->GetFrameInfo();
    return {info.width, info.height};
}

/// Lines of at most `columns` characters, broken between words.
Lines Wrap(std::string const& text, std::size_t columns) {
    Lines lines(1);
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!lines.back().empty() && lines.back().size() + 1 + word.size() > columns)
            lines.emplace_back();
        lines.back() += (lines.back().empty() ? "" : " ") + word.substr(0, columns);
    }
    return lines;
}

struct Layout {
    /// Of the columns, and of all.
    std::vector<std::uint32_t> widths;
    Size size;
    std::uint32_t scale = 1;
    /// Of a line of text.
    std::uint32_t line = 0;
    /// Of each panel.
    std::vector<std::vector<Lines>> labels;
    /// Of each row: the band of labels, and the panels below it.
    std::vector<std::uint32_t> bands;
    std::vector<std::uint32_t> heights;
};

Layout Lay(std::vector<std::vector<Panel>> const& rows, std::uint32_t width) {
    Layout layout;
    for (auto const& row : rows) {
        layout.widths.resize(std::max(layout.widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            layout.widths[i] = std::max(layout.widths[i], SizeOf(row[i]).width);
    }
    layout.size.width = std::accumulate(layout.widths.begin(), layout.widths.end(), s_sheetGap,
                                        [](auto sum, auto each) { return sum + each + s_sheetGap; });
    if (width != 0)
        layout.size.width = width;
    layout.scale = ChooseTextScale(layout.size.width);
    layout.line = (s_glyphHeight + 3) * layout.scale;
    layout.size.height = s_sheetGap;
    for (auto const& row : rows) {
        std::size_t lines = 0;
        std::uint32_t height = 0;
        std::vector<Lines>& labels = layout.labels.emplace_back();
        for (std::size_t i = 0; i < row.size(); ++i) {
            std::size_t const columns = layout.widths[i] / ((s_glyphWidth + 1) * layout.scale);
            labels.push_back(Wrap(row[i].label, std::max<std::size_t>(columns, 1)));
            lines = std::max(lines, labels.back().size());
            height = std::max(height, SizeOf(row[i]).height);
        }
        layout.bands.push_back(static_cast<std::uint32_t>(lines) * layout.line);
        layout.heights.push_back(height);
        layout.size.height += layout.bands.back() + height + s_sheetGap;
    }
    return layout;
}

} // namespace

std::uint32_t ChooseTextScale(std::uint32_t sheetWidth) noexcept {
    constexpr std::uint32_t narrow = 560;
    return sheetWidth < narrow ? 1 : std::clamp(sheetWidth / 640U, 2U, 6U);
}

SP<Proc::IDataVideo> DrawSheet(std::vector<std::vector<Panel>> const& rows, std::uint32_t width) {
    Layout const layout = Lay(rows, width);
    RgbCanvas canvas(layout.size, s_sheetColor);
    Point at{0, s_sheetGap};
    for (std::size_t r = 0; r < rows.size(); ++r) {
        at.x = s_sheetGap;
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            Lines const& lines = layout.labels[r][i];
            for (std::size_t l = 0; l < lines.size(); ++l)
                canvas.Write({at.x, at.y + static_cast<std::uint32_t>(l) * layout.line}, layout.scale,
                             lines[l], s_labelColor);
            canvas.Draw({at.x, at.y + layout.bands[r]}, *rows[r][i].picture);
            at.x += layout.widths[i] + s_sheetGap;
        }
        at.y += layout.bands[r] + layout.heights[r] + s_sheetGap;
    }
    return canvas.GetPicture();
}

} // namespace Tarsel::Tools
