#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IData.h"

#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// A block of audio.
class TARSEL_API IDataAudio : public IDataMedia {
public:
    virtual Conf::SampleFormats GetSampleFormat() const = 0;
    virtual Conf::SampleInfo GetSampleInfo() const = 0;
    /// Samples for each channel.
    virtual std::int64_t GetSampleCount() const = 0;
    /// The block's frame, owned by this object and valid as long as it.
    virtual AVFrame const* GetAVFrame() const = 0;
    virtual AVFrame* GetAVFrame() = 0;
};

} // namespace Tarsel::Proc
