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

/// A lane made of two functions: what comes out for a picture that goes in, and what at the end.
class FunctionLane final : public Proc::IEffectStreamVideo {
public:
    using Work = std::function<Pictures(Picture const&)>;
    using Finish = std::function<Pictures()>;

    explicit FunctionLane(Work work, Finish finish = {})
        : m_work(std::move(work)), m_finish(std::move(finish)) {}

    void Feed(Picture const& picture) override { Add(m_work(picture)); }
    Picture Take() override {
        if (m_ready.empty())
            return nullptr;
        Picture picture = m_ready.front();
        m_ready.pop_front();
        return picture;
    }
    void End() override {
        if (m_finish)
            Add(m_finish());
    }

private:
    void Add(Pictures const& pictures) { m_ready.insert(m_ready.end(), pictures.begin(), pictures.end()); }

    Work m_work;
    Finish m_finish;
    std::deque<Picture> m_ready;
};

/// A factory of such a lane.
inline Media::MakeVideoLane MakeLane(FunctionLane::Work work, FunctionLane::Finish finish = {}) {
    return [=](Media::VideoStreamInfo const&) { return std::make_unique<FunctionLane>(work, finish); };
}

/// Every picture as it is.
inline Media::MakeVideoLane PassThrough() {
    return MakeLane([](Picture const& picture) { return Pictures{picture}; });
}

} // namespace Tarsel::Test
