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

/// A lane made of two functions: what comes out for a datum that goes in, and what at the end.
template <class Data>
class FunctionLaneOf final : public Proc::IEffectStream<Data> {
public:
    using Work = std::function<std::vector<SP<Data>>(SP<Data> const&)>;
    using Finish = std::function<std::vector<SP<Data>>()>;

    explicit FunctionLaneOf(Work work, Finish finish = {})
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

using FunctionLane = FunctionLaneOf<Proc::IDataVideo>;
using SoundFunctionLane = FunctionLaneOf<Proc::IDataAudio>;

/// A factory of such a lane.
inline Media::MakeVideoLane MakeLane(FunctionLane::Work work, FunctionLane::Finish finish = {}) {
    return [=](Media::VideoStreamInfo const&) { return std::make_unique<FunctionLane>(work, finish); };
}

/// Every picture as it is.
inline Media::MakeVideoLane PassThrough() {
    return MakeLane([](Picture const& picture) { return Pictures{picture}; });
}

/// The same, and `told` becomes what the lane's maker is told.
inline Media::MakeVideoLane Note(Media::VideoStreamInfo& told) {
    return [&told](Media::VideoStreamInfo const& info) {
        told = info;
        return PassThrough()(info);
    };
}

/// A factory of such a lane for sound, which keeps the format.
inline Media::MakeSoundLane MakeSound(SoundFunctionLane::Work work, SoundFunctionLane::Finish finish = {}) {
    return [=](Media::SoundStreamInfo const& info) {
        return Media::SoundLane{std::make_unique<SoundFunctionLane>(work, finish), info.format};
    };
}

/// Every block as it is.
inline Media::MakeSoundLane SoundThrough() {
    return MakeSound([](Block const& block) { return Blocks{block}; });
}

} // namespace Tarsel::Test
