#include "Proc/Effects/Lumenta/Graph/FormatCache.h"

#include "Conf/PixFmtDescription.h"

namespace Tarsel::Proc {
namespace {

std::string_view GetName(Conf::PixFmt format) {
    return Conf::PixFmtDescription::Find(format).GetName();
}

std::string_view GetName(Conf::SampleFormats format) {
    return Conf::SampleFmtRecord::Find(format).name;
}

bool IsKnown(Conf::PixFmt format) {
    return format != Conf::PixFmt::None;
}

bool IsKnown(Conf::SampleFormats format) {
    return format != Conf::SampleFormats::Unknown;
}

} // namespace

template <class Format>
std::string BasicFormatCache<Format>::MakeKey(std::string_view classId, Format input,
                                              std::string_view description) {
    std::string key(classId);
    key += ' ';
    key += GetName(input);
    key += ' ';
    key += description;
    return key;
}

template <class Format>
std::optional<Format> BasicFormatCache<Format>::Find(std::string const& key) const {
    std::lock_guard const lock(m_lock);
    auto const found = m_formats.find(key);
    if (found == m_formats.end() || !IsKnown(found->second))
        return std::nullopt;
    return found->second;
}

template <class Format>
void BasicFormatCache<Format>::Store(std::string const& key, Format output) {
    std::lock_guard const lock(m_lock);
    m_formats.insert_or_assign(key, output);
}

template class BasicFormatCache<Conf::PixFmt>;
template class BasicFormatCache<Conf::SampleFormats>;

FormatCache& GetVideoFormatCache() {
    static FormatCache cache;
    return cache;
}

SampleFormatCache& GetAudioFormatCache() {
    static SampleFormatCache cache;
    return cache;
}

} // namespace Tarsel::Proc
