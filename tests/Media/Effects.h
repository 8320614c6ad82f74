#pragma once

#include "Media/Run.h"
#include "Proc/Interfaces/IEffectStream.h"

#include <deque>
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
class FunctionEffectsOf final : public Proc::IEffectStream<Data> {
public:
    using Work = std::function<std::vector<SP<Data>>(SP<Data> const&)>;
    using Finish = std::function<std::vector<SP<Data>>()>;

    explicit FunctionEffectsOf(Work work, Finish finish = {})
        : m_work(std::move(work)), m_finish(std::move(finish)) {}

    void Feed(SP<Data> const& data) override { Add(m_work(data)); }
    SP<Data> Take() override {
        if (m_ready.empty())
            return nullptr;
        SP<Data> data = m_ready.front();
        m_ready.pop_front();
        return data;
    }
    void End() override {
        if (m_finish)
            Add(m_finish());
    }

private:
    void Add(std::vector<SP<Data>> const& all) { m_ready.insert(m_ready.end(), all.begin(), all.end()); }

    Work m_work;
    Finish m_finish;
    std::deque<SP<Data>> m_ready;
};

using FunctionEffects = FunctionEffectsOf<Proc::IDataVideo>;
using AudioFunctionEffects = FunctionEffectsOf<Proc::IDataAudio>;

/// A factory of such a chain.
inline Media::MakeVideoEffects MakeEffects(FunctionEffects::Work work, FunctionEffects::Finish finish = {}) {
    return [=](Media::VideoStreamInfo const&) { return std::make_unique<FunctionEffects>(work, finish); };
}

/// Every picture as it is.
inline Media::MakeVideoEffects PassThrough() {
    return MakeEffects([](Picture const& picture) { return Pictures{picture}; });
}

/// What comes in, so many data later.
template <class Data>
std::pair<std::function<std::vector<SP<Data>>(SP<Data> const&)>, std::function<std::vector<SP<Data>>()>>
HoldBack(std::size_t count) {
    auto const held = std::make_shared<std::deque<SP<Data>>>();
    return {[held, count](SP<Data> const& data) {
                held->push_back(data);
                std::vector<SP<Data>> ready;
                if (held->size() > count) {
                    ready.push_back(held->front());
                    held->pop_front();
                }
                return ready;
            },
            [held] {
                std::vector<SP<Data>> const rest(held->begin(), held->end());
                held->clear();
                return rest;
            }};
}

inline Media::MakeVideoEffects HoldBackPictures(std::size_t count) {
    auto const [work, finish] = HoldBack<Proc::IDataVideo>(count);
    return MakeEffects(work, finish);
}

/// Every picture as it is, and `told` becomes what the chain's maker is told.
inline Media::MakeVideoEffects Note(Media::VideoStreamInfo& told) {
    return [&told](Media::VideoStreamInfo const& info) {
        told = info;
        return PassThrough()(info);
    };
}

/// A factory of such a chain for audio, which keeps the format.
inline Media::MakeAudioEffects MakeAudio(AudioFunctionEffects::Work work,
                                         AudioFunctionEffects::Finish finish = {}) {
    return [=](Media::AudioStreamInfo const& info) {
        return Media::AudioEffects{std::make_unique<AudioFunctionEffects>(work, finish), info.format};
    };
}

/// Every block as it is.
inline Media::MakeAudioEffects AudioThrough() {
    return MakeAudio([](Block const& block) { return Blocks{block}; });
}

} // namespace Tarsel::Test
