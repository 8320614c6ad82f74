#include "Proc/Effects/Lumenta/FormatCache.h"

#include "Conf/PixFmtDescription.h"

namespace Tarsel::Proc {
namespace {

constexpr std::size_t s_mostEntries = 1024;

} // namespace

std::string FormatCache::MakeKey(std::string_view classId, Conf::PixFmt input, std::string_view description) {
    std::string key(classId);
    key += ' ';
    key += Conf::PixFmtDescription::Find(input).GetName();
    key += ' ';
    key += description;
    return key;
}

std::optional<Conf::PixFmt> FormatCache::Find(std::string const& key) const {
    std::lock_guard const lock(m_lock);
    auto const found = m_formats.find(key);
    if (found == m_formats.end() || found->second == Conf::PixFmt::None)
        return std::nullopt;
    return found->second;
}

void FormatCache::Store(std::string const& key, Conf::PixFmt output) {
    std::lock_guard const lock(m_lock);
    if (m_formats.size() >= s_mostEntries)
        m_formats.clear();
    m_formats.insert_or_assign(key, output);
}

FormatCache& GetVideoFormatCache() {
    static FormatCache cache;
    return cache;
}

} // namespace Tarsel::Proc
