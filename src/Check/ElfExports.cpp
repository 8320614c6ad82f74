#include "Check/ElfExports.h"

#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <string_view>

namespace Tarsel::Check {
namespace {

/// `count` records from `offset` on; fewer where the file ends.
template <class Record>
std::vector<Record> ReadRecords(std::string_view file, std::uint64_t offset, std::uint64_t count) {
    std::vector<Record> records;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::uint64_t const at = offset + i * sizeof(Record);
        if (at > file.size() || file.size() - at < sizeof(Record))
            break;
        std::memcpy(&records.emplace_back(), file.data() + at, sizeof(Record));
    }
    return records;
}

} // namespace

std::vector<std::string> ReadExports(std::filesystem::path const& library) {
    std::ifstream stream(library, std::ios::binary);
    std::string const file{std::istreambuf_iterator<char>(stream), {}};
    auto const headers = ReadRecords<ElfW(Ehdr)>(file, 0, 1);
    if (headers.empty() || !file.starts_with(ELFMAG))
        return {};
    auto const sections = ReadRecords<ElfW(Shdr)>(file, headers[0].e_shoff, headers[0].e_shnum);
    std::vector<std::string> names;
    for (auto const& section : sections) {
        if (section.sh_type != SHT_DYNSYM || section.sh_link >= sections.size())
            continue;
        std::uint64_t const texts = sections[section.sh_link].sh_offset;
        for (auto const& symbol :
             ReadRecords<ElfW(Sym)>(file, section.sh_offset, section.sh_size / sizeof(ElfW(Sym)))) {
            auto const binding = symbol.st_info >> 4;
            if (symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK) &&
                texts + symbol.st_name < file.size())
                names.emplace_back(file.c_str() + texts + symbol.st_name);
        }
    }
    return names;
}

} // namespace Tarsel::Check
