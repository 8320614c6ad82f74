#include "Media/Container/FileEnd.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

extern "C" {
#include <libavformat/avio.h>
}

namespace Tarsel::Media {

namespace {

/// The bytes of a file from a position on, at most so many.
std::string ReadAt(AVIOContext& file, std::int64_t position, std::size_t count) {
    std::string bytes(count, '\0');
    if (avio_seek(&file, position, SEEK_SET) < 0)
        return {};
    int const read =
        avio_read(&file, reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count));
    bytes.resize(static_cast<std::size_t>(std::max(read, 0)));
    return bytes;
}

std::uint64_t ReadNumber(std::string_view bytes, std::endian order = std::endian::big) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char const byte = bytes[order == std::endian::big ? i : bytes.size() - 1 - i];
        number = number << 8 | static_cast<std::uint8_t>(byte);
    }
    return number;
}

/// How long the piece that begins with these bytes says that it is, with its header; nothing where it is none
/// of the kind, or does not say.
using MeasurePiece = std::optional<std::uint64_t> (*)(std::string_view head);

/// What is written into a pipe states the most there is, or nothing.
std::optional<std::uint64_t> MeasureChunk(std::string_view head, std::string_view name, std::endian order) {
    constexpr std::uint64_t header = 8;
    constexpr std::uint64_t unknown = 0x7FFFF000;
    std::uint64_t const size = ReadNumber(head.substr(4, 4), order);
    if (!head.starts_with(name) || size == 0 || size >= unknown)
        return std::nullopt;
    return header + size + size % 2;
}

std::optional<std::uint64_t> MeasureRiff(std::string_view head) {
    return MeasureChunk(head, "RIFF", std::endian::little);
}

std::optional<std::uint64_t> MeasureForm(std::string_view head) {
    return MeasureChunk(head, "FORM", std::endian::big);
}

std::optional<std::uint64_t> MeasureAtom(std::string_view head) {
    static constexpr std::string_view atoms[] = {"ftyp", "styp", "moov", "moof", "mdat", "sidx",
                                                 "mfra", "free", "skip", "wide", "uuid", "udta",
                                                 "meta", "pnot", "emsg", "prft"};
    std::uint64_t const size = ReadNumber(head.substr(0, 4));
    if (std::ranges::find(atoms, head.substr(4, 4)) == std::end(atoms))
        return std::nullopt;
    std::uint64_t const whole = size == 1 ? ReadNumber(head.substr(8, 8)) : size;
    return whole >= 8 ? std::optional(whole) : std::nullopt;
}

std::optional<std::uint64_t> MeasureElement(std::string_view head) {
    if (!head.starts_with("\x1A\x45\xDF\xA3") && !head.starts_with("\x18\x53\x80\x67"))
        return std::nullopt;
    std::string_view const size = head.substr(4);
    auto const length = static_cast<unsigned>(std::countl_zero(static_cast<std::uint8_t>(size[0]))) + 1;
    if (length > 8)
        return std::nullopt;
    std::uint64_t const all = (std::uint64_t{1} << (7 * length)) - 1;
    std::uint64_t const value = ReadNumber(size.substr(0, length)) & all;
    return value != all ? std::optional(4 + length + value) : std::nullopt;
}

constexpr struct {
    std::string_view container;
    MeasurePiece measure;
} s_pieces[] = {{"wav", MeasureRiff},
                {"avi", MeasureRiff},
                {"aiff", MeasureForm},
                {"mov,mp4,m4a,3gp,3g2,mj2", MeasureAtom},
                {"matroska,webm", MeasureElement}};

/// How many bytes there ought to be; no more than there are where the file does not say.
std::uint64_t GetStatedSize(MeasurePiece measure, AVIOContext& file, std::uint64_t size) {
    constexpr std::size_t longestHeader = 16;
    std::uint64_t at = 0;
    while (at + longestHeader <= size) {
        std::string const head = ReadAt(file, static_cast<std::int64_t>(at), longestHeader);
        auto const piece = head.size() == longestHeader ? measure(head) : std::nullopt;
        if (!piece || *piece > INT64_MAX - at)
            break;
        at += *piece;
    }
    return std::max(at, size);
}

/// Whether the last page is whole and ends its stream.
bool EndsWithOggPage(std::string_view tail) {
    constexpr std::size_t header = 27;
    constexpr std::size_t flags = 5;
    constexpr std::uint8_t lastPage = 4;
    std::size_t const at = tail.rfind("OggS");
    if (at == std::string_view::npos || tail.size() - at < header)
        return false;
    std::string_view const page = tail.substr(at);
    std::size_t const segments = static_cast<std::uint8_t>(page[header - 1]);
    std::size_t length = header + segments;
    for (char const segment : page.substr(header, segments))
        length += static_cast<std::uint8_t>(segment);
    return (static_cast<std::uint8_t>(page[flags]) & lastPage) != 0 && length <= page.size();
}

/// Some writers fill up with zeros.
bool EndsWith(std::string_view tail, std::string_view mark) {
    std::size_t const last = tail.find_last_not_of('\0');
    return last != std::string_view::npos && tail.substr(0, last + 1).ends_with(mark);
}

constexpr struct {
    std::string_view container;
    bool (*isWhole)(std::string_view tail);
} s_endings[] = {{"ogg", EndsWithOggPage},
                 {"gif", [](std::string_view tail) { return EndsWith(tail, ";"); }},
                 {"apng", [](std::string_view tail) { return EndsWith(tail, "IEND\xAE\x42\x60\x82"); }}};

} // namespace

FileEnd FindFileEnd(std::string_view container, AVIOContext& file) {
    // Writers disagree on whether their own header counts, and on the last byte that pads.
    constexpr std::uint64_t slack = 8;
    constexpr std::int64_t longestPage = 65307;
    FileEnd end;
    std::int64_t const size = avio_size(&file);
    if (size <= 0)
        return end;
    auto const there = static_cast<std::uint64_t>(size);
    for (auto const& row : s_pieces)
        if (row.container == container) {
            end.stated = GetStatedSize(row.measure, file, there);
            end.missing = end.stated - there > slack ? end.stated - there : 0;
        }
    std::int64_t const length = std::min(size, longestPage);
    for (auto const& row : s_endings)
        if (row.container == container)
            end.lacksMark = !row.isWhole(ReadAt(file, size - length, static_cast<std::size_t>(length)));
    return end;
}

} // namespace Tarsel::Media
