#pragma once

#include "Conf/PixFmt.h"
#include "Conf/SampleFormats.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace Tarsel::Proc {

/// The format that comes out of an effect, by a text that says effect, input format and filter. Formats are
/// PixFmt or SampleFormats. Any thread; the lock is held around a look-up or a store only.
template <class Format>
class BasicFormatCache {
public:
    /// "<class id> <name of the format> <filter description>". CoreException for a pixel format that does not
    /// exist.
    static std::string MakeKey(std::string_view classId, Format input, std::string_view description);

    /// Nothing when the key was not stored, or stored with PixFmt::None or SampleFormats::Unknown.
    std::optional<Format> Find(std::string const& key) const;
    /// Inserts or overwrites. What is stored stays: some 200 bytes for each text that was ever asked about.
    void Store(std::string const& key, Format output);

private:
    mutable std::mutex m_lock;
    std::map<std::string, Format> m_formats;
};

extern template class BasicFormatCache<Conf::PixFmt>;
extern template class BasicFormatCache<Conf::SampleFormats>;

using FormatCache = BasicFormatCache<Conf::PixFmt>;
using SampleFormatCache = BasicFormatCache<Conf::SampleFormats>;

/// The one cache of all video effects of this library, and that of all audio effects. They live as long as
/// the library.
FormatCache& GetVideoFormatCache();
SampleFormatCache& GetAudioFormatCache();

} // namespace Tarsel::Proc
