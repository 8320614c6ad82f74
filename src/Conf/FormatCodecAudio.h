#pragma once

#include "Conf/IFormatCodecAudio.h"

namespace Tarsel::Conf {

/// The host's own IFormatCodecAudio: plain storage.
class TARSEL_API FormatCodecAudio : public Core::RefCounted<IFormatCodecAudio> {
public:
    FormatCodecAudio() = default;
    explicit FormatCodecAudio(SampleInfo const& info);

    SampleInfo GetSampleInfo() const override;
    void SetSampleInfo(SampleInfo const& info) override;
    SampleFormats GetSampleFormat() const override;
    void SetSampleFormat(SampleFormats format) override;
    void SetChannelLayout(ChannelLayout const& layout) override;

private:
    SampleInfo m_info;
};

} // namespace Tarsel::Conf
