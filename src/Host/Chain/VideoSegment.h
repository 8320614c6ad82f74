#pragma once

#include "Core/ThreadBudget.h"
#include "Host/Chain/IChainStep.h"
#include "Host/Chain/VideoStep.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Tarsel::Host {

/// Effects of a chain that stand one after the other and need no frame but the present one: several frames
/// go through all of them at once, each on a thread and through instances of its own. Results come in the
/// order of the frames, and are the same for any number of threads. No more frames are on their way than
/// threads and two. Called by one thread at a time.
class VideoSegment final : public IChainStep<VideoMedium> {
public:
    using Effect = Proc::IOneInputEffectVideo;

    /// Up to `threads` of the budget (Core::ThreadBudget), taken when the first frame comes.
    explicit VideoSegment(int threads);
    ~VideoSegment() override;

    /// Whether each result depends on one frame and the settings alone, and comes at once.
    static bool CanTake(Effect const& effect);

    /// `another` makes more instances; they get the settings of `effect`, also when those change.
    void Append(SP<Effect> effect, std::string label, VideoChain::MakeEffect another);

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
        /// Those that the instances have.
        std::unique_ptr<Proc::Settings> settings;
    };
    /// One frame on its way.
    struct Job {
        SP<Proc::IDataVideo> frame;
        SP<Proc::IDataVideo> result;
        std::exception_ptr failure;
        bool isDone = false;
    };
    struct Worker {
        std::vector<SP<Effect>> effects;
        std::vector<std::unique_ptr<VideoStep>> steps;
        /// Not of the only worker.
        std::jthread thread;
    };

    void Start();
    std::unique_ptr<Worker> MakeWorker() const;
    void Loop(std::stop_token const& stop, Worker& worker);
    static void Work(Worker& worker, Job& job);
    void PassOnSettings();
    void WaitForAll() const;
    void EndSteps();

    int m_threads;
    Core::ThreadLease m_lease;
    std::vector<Source> m_sources;
    /// Over the effects of the sources, which see no frames.
    std::vector<std::unique_ptr<VideoStep>> m_asked;

    mutable std::mutex m_mutex;
    std::condition_variable_any m_isWaiting;
    mutable std::condition_variable m_isDone;
    /// In the order of the frames; of these wait for a worker:
    std::deque<Job> m_jobs;
    std::deque<Job*> m_waiting;
    bool m_isEnding = false;
    /// Last, so that they end first.
    std::vector<std::unique_ptr<Worker>> m_workers;
};

} // namespace Tarsel::Host
