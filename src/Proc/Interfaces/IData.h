#pragma once

#include "Core/RefCount.h"

#include <cstdint>

namespace Tarsel::Proc {

/// Root of media data. Data objects are not synchronized: one thread at a time.
class TARSEL_API IData : public Core::IRefCountable {};

/// Data with a place in time.
class TARSEL_API IDataMedia : public IData {
public:
    /// Presentation time in microseconds; FFmpeg's AV_NOPTS_VALUE (the least int64) when not known.
    virtual std::int64_t GetTime() const = 0;
    virtual void SetTime(std::int64_t microseconds) = 0;
    /// In microseconds; 0 when not known.
    virtual std::int64_t GetDuration() const = 0;
    virtual void SetDuration(std::int64_t microseconds) = 0;
};

} // namespace Tarsel::Proc
