#pragma once

#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeFrame.h"

namespace Tarsel::Proc {

/// A block of audio held in an AVFrame, and with it its time and duration.
class TARSEL_API DataAudioFF : public Core::RefCounted<IDataAudio> {
public:
    /// Takes a reference to the frame's buffers. MemoryException; ProcException for a frame without audio.
    explicit DataAudioFF(AVFrame const& frame);
    /// Takes the frame over.
    explicit DataAudioFF(SafeFrame&& frame) noexcept;

    /// A block of `sampleCount` samples for each channel (0 allowed), not set. EffectException for a format,
    /// rate or layout that is not known; MemoryException.
    static SP<DataAudioFF> CreateBySampleCount(Conf::SampleInfo const& info, int sampleCount);

    std::int64_t GetTime() const override;
    void SetTime(std::int64_t microseconds) override;
    std::int64_t GetDuration() const override;
    void SetDuration(std::int64_t microseconds) override;
    Conf::SampleFormats GetSampleFormat() const override;
    Conf::SampleInfo GetSampleInfo() const override;
    std::int64_t GetSampleCount() const override;
    AVFrame const* GetAVFrame() const override;
    AVFrame* GetAVFrame() override;

private:
    SafeFrame m_frame;
};

} // namespace Tarsel::Proc
