#pragma once

#include "Conf/PixFmt.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace Tarsel::Proc {

/// The pixel format that comes out of an effect, by a text that says effect, input format and filter. Any
/// thread; the lock is held around a look-up or a store only.
class FormatCache {
public:
    /// "<class id> <name of the pixel format> <filter description>". CoreException for a pixel format that
    /// does not exist.
    static std::string MakeKey(std::string_view classId, Conf::PixFmt input, std::string_view description);

    /// Nothing when the key was not stored, or stored with PixFmt::None.
    std::optional<Conf::PixFmt> Find(std::string const& key) const;
    /// Inserts or overwrites. A cache that has grown too large starts anew: settings that change with every
    /// frame have a text each.
    void Store(std::string const& key, Conf::PixFmt output);

private:
    mutable std::mutex m_lock;
    std::map<std::string, Conf::PixFmt> m_formats;
};

/// The one cache of all video effects of this library. It lives as long as the library.
FormatCache& GetVideoFormatCache();

} // namespace Tarsel::Proc
