#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <optional>

namespace Tarsel::Host {

/// Two planar YUV formats that differ in nothing but the resolution of chroma.
struct ChromaPair {
    Conf::PixFmt subsampled = Conf::PixFmt::None;
    Conf::PixFmt full = Conf::PixFmt::None;

    friend bool operator==(ChromaPair const&, ChromaPair const&) = default;
};

/// The pair for frames of a format: `subsampled` is the format itself, or where that is not planar in this
/// machine's byte order, the planar one that holds the same. Nothing where chroma is not subsampled, or no
/// such formats exist. Any thread.
std::optional<ChromaPair> FindChromaPair(Conf::PixFmt format);

/// The picture with each chroma sample repeated for every pixel it stands for. `frame` is of
/// `pair.subsampled`. MemoryException.
SP<Proc::DataVideoFF> SpreadChroma(Proc::IDataVideo const& frame, ChromaPair const& pair);

/// The picture with chroma samples averaged over the pixels that they stand for: what SpreadChroma made comes
/// back as it was, also from any place that lies on whole chroma samples. `frame` is of `pair.full`, of any
/// size. MemoryException.
SP<Proc::DataVideoFF> GatherChroma(Proc::IDataVideo const& frame, ChromaPair const& pair);

} // namespace Tarsel::Host
