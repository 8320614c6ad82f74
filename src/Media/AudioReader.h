#pragma once

#include "Core/RefCount.h"
#include "Media/Api.h"
#include "Media/Input.h"
#include "Media/StreamInfo.h"
#include "Media/TimeRange.h"
#include "Proc/Interfaces/IDataAudio.h"

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Media {

class AudioReading;

/// The audio of a file: the blocks of its best audio stream, one after the other, without gaps (silence
/// stands for them) and all of one format. One thread at a time.
class TARSEL_MEDIA_API AudioReader {
public:
    /// Opens the file. InputException when there is no audio that can be decoded; InterruptedException. Of a
    /// range the blocks come as from a file that holds nothing else: OptionsException where there is none
    /// such.
    explicit AudioReader(Input const& input, std::stop_token stop = {}, TimeRange const& range = {});
    /// The same of the audio stream of this number (AudioStreamInfo::number). InputException when there is
    /// none.
    AudioReader(Input const& input, int number, std::stop_token stop = {}, TimeRange const& range = {});
    AudioReader(AudioReader const&) = delete;
    AudioReader& operator=(AudioReader const&) = delete;
    ~AudioReader();

    /// Its copyObstacle is empty.
    AudioStreamInfo const& GetInfo() const noexcept;
    /// As the file states it, or of the range as far as the file has it, in microseconds; 0 when not known.
    std::int64_t GetDuration() const noexcept;
    /// The next block, with its time in the file and its duration in microseconds; null at the end. The block
    /// is the caller's. InputException when the file cannot be read further; InterruptedException.
    SP<Proc::IDataAudio> Next();
    /// What the user should know of the reading so far, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    std::unique_ptr<AudioReading> m_reading;
};

} // namespace Tarsel::Media
