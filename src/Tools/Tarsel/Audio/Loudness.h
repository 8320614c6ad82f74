#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

struct AVFrame;

namespace Tarsel::Tools {

/// By what loudness is measured.
constexpr std::string_view s_loudnessStandard = "EBU R 128, ITU-R BS.1770-4";

/// How loud a program is. Not finite where nothing was above the gates, or where the audio is shorter than
/// what is averaged over.
struct Loudness {
    /// LUFS.
    double integrated = 0;
    /// The largest, over 3 s and over 400 ms.
    double shortTermMax = 0;
    double momentaryMax = 0;
    /// LU (EBU Tech 3342).
    double range = 0;
    /// dBTP, of all channels the largest; between the samples, too.
    double truePeak = 0;
};

/// Measures the loudness of audio with libebur128. A low-frequency channel does not count; surround channels
/// count 1.5 dB more. Not synchronized.
class LoudnessMeter {
public:
    /// Whether this program was built with libebur128.
    static bool IsAvailable() noexcept;

    /// For blocks of this format. MemoryException.
    explicit LoudnessMeter(Conf::SampleInfo const& format);
    LoudnessMeter(LoudnessMeter const&) = delete;
    LoudnessMeter& operator=(LoudnessMeter const&) = delete;
    ~LoudnessMeter();

    /// EffectException, MemoryException.
    void Add(Proc::IDataAudio const& block);
    /// Of all so far; nothing where it cannot be measured: without the library, at rates below 16 Hz, of more
    /// than 64 channels.
    std::optional<Loudness> Get() const;

private:
    struct State;

    void AddPacked(AVFrame const& block);

    Conf::SampleInfo m_format;
    Conf::SampleInfo m_packed;
    Proc::SafeSwrContext m_converter;
    std::unique_ptr<State> m_state;
};

} // namespace Tarsel::Tools
