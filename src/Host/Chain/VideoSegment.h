#pragma once

#include "Core/WorkPool.h"
#include "Host/Chain/IChainStep.h"
#include "Host/Chain/VideoStep.h"

#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Host {

/// Effects of a chain that stand one after the other and need no frame but the present one: several frames
/// go through all of them at once in the pool of the process (Core::WorkPool), each through instances of its
/// own. Results come in the order of the frames, and are the same for any number of threads. No more frames
/// are on their way than threads and two. Called by one thread at a time.
class VideoSegment final : public IChainStep<VideoMedium> {
public:
    using Effect = Proc::IOneInputEffectVideo;

    /// Up to `threads` of the pool, the calling one included.
    explicit VideoSegment(int threads);
    ~VideoSegment() override;

    /// Whether each result depends on one frame and the settings alone, and comes at once.
    static bool CanTake(Effect const& effect);

    /// `another` makes more instances; they get the settings of `effect`, also when those change.
    void Append(SP<Effect> effect, std::string label, VideoChain::MakeEffect another, StepTimes times);

    void Feed(SP<Proc::IDataVideo> const& frame) override;
    SP<Proc::IDataVideo> Take() override;
    void End() override;
    bool GoesOn() const noexcept override { return m_isEnding; }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const override;
    void AddStatistics(std::vector<Core::Property>& statistics) const override;
    void AddTimes(std::vector<StepTime>& times) const override;
    std::vector<std::string> GetNotes() const override;

private:
    struct Source {
        SP<Effect> effect;
        std::string label;
        VideoChain::MakeEffect another;
        StepTimes times;
        /// Those that the instances have.
        std::unique_ptr<Proc::Settings> settings;
    };
    /// Instances for one frame at a time.
    struct Worker {
        std::vector<SP<Effect>> effects;
        std::vector<std::unique_ptr<VideoStep>> steps;
    };
    /// One frame on its way.
    struct Frame final : Core::WorkPool::Job {
        Frame(VideoSegment& owner, SP<Proc::IDataVideo> input) : segment(owner), data(std::move(input)) {}
        void Work() noexcept override { segment.WorkOn(*this); }

        VideoSegment& segment;
        /// What comes in, then what comes out; or why there is nothing.
        SP<Proc::IDataVideo> data;
        std::exception_ptr failure;
        /// Once it has begun, and until it is done.
        Worker* worker = nullptr;
        bool isDone = false;
    };

    void Start();
    Worker MakeWorker() const;
    static void Pass(Frame& frame) noexcept;
    void WorkOn(Frame& frame) noexcept;
    void BeginNext() noexcept;
    void PassOnSettings();
    void FinishAll() const;
    void EndSteps();

    int m_threads;
    /// Null: the calling thread does all.
    std::shared_ptr<Core::WorkPool> m_pool;
    std::vector<Source> m_sources;
    /// Over the effects of the sources, which see no frames.
    std::vector<std::unique_ptr<VideoStep>> m_asked;
    std::vector<Worker> m_workers;
    bool m_isEnding = false;

    mutable std::mutex m_mutex;
    std::vector<Worker*> m_free;
    /// In their order; the first m_begun of them are in the pool, or done.
    mutable std::deque<Frame> m_frames;
    std::size_t m_begun = 0;
};

} // namespace Tarsel::Host
