#pragma once

#include "Media/Run.h"
#include "Support/FunctionStream.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Tarsel::Test {

using Picture = SP<Proc::IDataVideo>;
using Pictures = std::vector<Picture>;
using Block = SP<Proc::IDataAudio>;
using Blocks = std::vector<Block>;

/// A chain made of two functions: what comes out for a datum that goes in, and what at the end.
template <class Data>
auto MakeStream(std::function<std::vector<SP<Data>>(SP<Data> const&)> work,
                std::function<std::vector<SP<Data>>()> finish) {
    return std::make_unique<FunctionStream<Data>>([=](SP<Data> const& data, Queue<Data>& ready) {
        for (SP<Data> const& each : data ? work(data) : finish ? finish() : std::vector<SP<Data>>())
            ready.push_back(each);
    });
}

/// A factory of such a chain.
inline Media::MakeVideoEffects MakeEffects(std::function<Pictures(Picture const&)> work,
                                           std::function<Pictures()> finish = {}) {
    return [=](Media::VideoStreamInfo const&) { return MakeStream<Proc::IDataVideo>(work, finish); };
}

/// Every picture as it is.
inline Media::MakeVideoEffects PassThrough() {
    return MakeEffects([](Picture const& picture) { return Pictures{picture}; });
}

inline Media::MakeVideoEffects HoldBackPictures(std::size_t count) {
    return [=](Media::VideoStreamInfo const&) {
        return std::make_unique<FunctionStream<Proc::IDataVideo>>(HoldBack<Proc::IDataVideo>(count));
    };
}

/// Every picture as it is, and `told` becomes what the chain's maker is told.
inline Media::MakeVideoEffects Note(Media::VideoStreamInfo& told) {
    return [&told](Media::VideoStreamInfo const& info) {
        told = info;
        return PassThrough()(info);
    };
}

/// A factory of such a chain for audio, which keeps the format.
inline Media::MakeAudioEffects MakeAudio(std::function<Blocks(Block const&)> work,
                                         std::function<Blocks()> finish = {}) {
    return [=](Media::AudioStreamInfo const& info) {
        return Media::AudioEffects{MakeStream<Proc::IDataAudio>(work, finish), info.format};
    };
}

/// Every block as it is.
inline Media::MakeAudioEffects AudioThrough() {
    return MakeAudio([](Block const& block) { return Blocks{block}; });
}

} // namespace Tarsel::Test
