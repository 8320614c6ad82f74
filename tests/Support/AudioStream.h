#pragma once

#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Support/Audio.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

/// Streams of audio through effects, and what came of them.
namespace Tarsel::Test {

using Blocks = std::vector<SP<Proc::IDataAudio>>;

inline Proc::IEffectStreamAudio& StreamOf(Proc::IOneInputEffectAudio& effect) {
    return dynamic_cast<Proc::IEffectStreamAudio&>(effect);
}

/// All that is ready.
inline Blocks TakeAll(Proc::IEffectStreamAudio& stream) {
    Blocks out;
    while (SP<Proc::IDataAudio> block = stream.Take())
        out.push_back(block);
    return out;
}

/// All that comes of the blocks, the end included.
inline Blocks RunStream(Proc::IOneInputEffectAudio& effect, Blocks const& in) {
    Proc::IEffectStreamAudio& stream = StreamOf(effect);
    Blocks out;
    auto const takeAll = [&] { std::ranges::move(TakeAll(stream), std::back_inserter(out)); };
    for (SP<Proc::IDataAudio> const& block : in) {
        stream.Feed(block);
        takeAll();
    }
    stream.End();
    takeAll();
    return out;
}

/// The block cut into others of these sizes, over and over; its times go with them.
inline Blocks Cut(Proc::IDataAudio const& block, std::vector<int> const& sizes) {
    Blocks blocks;
    int first = 0;
    int const all = static_cast<int>(block.GetSampleCount());
    for (std::size_t i = 0; first < all; ++i) {
        int const count = std::min(sizes[i % sizes.size()], all - first);
        blocks.push_back(CutAudio(block, first, count));
        first += count;
    }
    return blocks;
}

/// The samples of all blocks, one channel after the other in each sample, without padding.
inline std::string GetRaw(Blocks const& blocks) {
    std::string raw;
    for (SP<Proc::IDataAudio> const& block : blocks) {
        AVFrame const& frame = *block->GetAVFrame();
        Conf::SampleInfo const info = block->GetSampleInfo();
        std::size_t const size = Conf::SampleFmtRecord::Find(info.format).size;
        for (int i = 0; i < frame.nb_samples; ++i)
            for (int channel = 0; channel < info.layout.channels; ++channel)
                raw.append(reinterpret_cast<char const*>(Details::PlaceOf(frame, channel, i)), size);
    }
    return raw;
}

inline std::int64_t CountSamples(Blocks const& blocks) {
    std::int64_t count = 0;
    for (SP<Proc::IDataAudio> const& block : blocks)
        count += block->GetSampleCount();
    return count;
}

} // namespace Tarsel::Test
