#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Property.h"
#include "Core/RefCount.h"

namespace Tarsel::Conf {

/// The description of an audio stream that effects are asked about and answer in. Not synchronized.
class TARSEL_API IFormatCodecAudio : public Core::IRefCountable, public Core::Property {
public:
    virtual SampleInfo GetSampleInfo() const = 0;
    virtual void SetSampleInfo(SampleInfo const& info) = 0;
    virtual SampleFormats GetSampleFormat() const = 0;
    virtual void SetSampleFormat(SampleFormats format) = 0;
    virtual void SetChannelLayout(ChannelLayout const& layout) = 0;
};

} // namespace Tarsel::Conf
