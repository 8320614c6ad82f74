#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct AVFormatContext;
struct AVPacket;

namespace Tarsel::Media {

/// Where an input says that its pictures and its audio end, against where they do: what is missing at the end
/// of a file that was cut off. Lengths that were guessed from the size of the file, or looked up at its end,
/// say nothing of that and are left aside. One thread at a time.
class StatedEnds {
public:
    StatedEnds() = default;
    /// Of an input that has just been opened; which streams it has must be known.
    explicit StatedEnds(AVFormatContext const& input);

    /// A packet of the input was read, with the times that it states.
    void Add(AVFormatContext const& input, AVPacket const& packet);
    /// Once all were read: a sentence for each stream that ends early.
    std::vector<std::string> Describe() const;

private:
    struct Stream {
        /// "pictures end", "audio ends"; null for what is not looked at.
        char const* kind = nullptr;
        /// In microseconds; INT64_MIN where nothing is known.
        std::int64_t stated = INT64_MIN;
        std::int64_t reached = INT64_MIN;
        /// The longest packet's, in microseconds.
        std::int64_t step = 0;
    };

    std::vector<Stream> m_streams;
    /// Of the whole file, for streams of which it is not stated; INT64_MIN: not known.
    std::int64_t m_stated = INT64_MIN;
    /// Lengths are stated as they are, not rounded or meant as a hint.
    bool m_isExact = false;
};

} // namespace Tarsel::Media
