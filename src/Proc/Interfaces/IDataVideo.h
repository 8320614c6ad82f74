#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/FrameInfo.h"
#include "Conf/PixFmt.h"
#include "Proc/Interfaces/IData.h"

#include <cstddef>
#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// One plane of a picture to read. The line size in bytes is negative for a picture stored bottom up; `data`
/// is the first byte of the top row either way.
struct ReadOnlyPlane {
    std::uint8_t const* data = nullptr;
    std::ptrdiff_t lineSize = 0;
    /// Bytes of one row that belong to the picture.
    std::size_t rowBytes = 0;
    std::uint32_t rows = 0;
};

/// The same to write.
struct WritablePlane {
    std::uint8_t* data = nullptr;
    std::ptrdiff_t lineSize = 0;
    std::size_t rowBytes = 0;
    std::uint32_t rows = 0;
};

/// A decoded picture.
class TARSEL_API IDataVideo : public IDataMedia {
public:
    virtual Conf::FrameInfo GetFrameInfo() const = 0;
    virtual Conf::PixFmt GetPixelFormat() const = 0;
    virtual Conf::ColorSpace GetColorSpace() const = 0;
    /// The pixel aspect of both the frame info and the frame; one with a zero in it is stored as 0/1,
    /// unknown.
    virtual void SetPixelAspect(std::uint32_t num, std::uint32_t den) = 0;
    /// The picture's frame, owned by this object and valid as long as it. Its buffers may be shared with
    /// other objects: pixels are written through GetWritablePlane only.
    virtual AVFrame const* GetAVFrame() const = 0;
    virtual AVFrame* GetAVFrame() = 0;
    /// A new object with times, geometry and the same pixels (buffers shared until one side writes).
    virtual SP<IDataVideo> Copy() const = 0;
    /// Plane `index`, valid as long as this object and until its next writable plane is asked for. Throws
    /// ProcException for a plane the format does not have.
    virtual ReadOnlyPlane GetReadOnlyPlane(int index) const = 0;
    /// As above; first gives this object buffers of its own where they are shared. Throws MemoryException.
    virtual WritablePlane GetWritablePlane(int index) = 0;
};

/// Copies pixels row by row; padding is not touched.
/// Planes of different sizes throw ProcException.
TARSEL_API void CopyPlane(ReadOnlyPlane const& from, WritablePlane const& to);

} // namespace Tarsel::Proc
