#pragma once

#include "Media/Base/FFmpegOwners.h"
#include "Media/Run/AudioReEncode.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Tarsel::Media {

/// Works on an audio stream on a thread of its own; with a thread budget of 1 on the calling thread. What a
/// packet gives is handed out some packets later, as many in either case: so the packets of several streams
/// reach a file in the same order for any number of threads. Called by one thread at a time.
class AudioWorker {
public:
    /// MemoryException.
    explicit AudioWorker(std::unique_ptr<AudioReEncode> work);
    AudioWorker(AudioWorker const&) = delete;
    AudioWorker& operator=(AudioWorker const&) = delete;
    /// What has not been handed out is lost.
    ~AudioWorker();

    /// Of the packets that are handed out.
    Ratio GetTimeBase() const noexcept { return m_work->GetEncoder().GetTimeBase(); }

    /// Takes the packet's content. As AudioReEncode, also for packets before.
    void Feed(AVPacket& packet, TakePacket const& give);
    /// No more packets: all is handed out. As Feed.
    void End(TakePacket const& give);

    /// Once ended.
    std::vector<std::string> GetNotes() const { return m_work->GetNotes(); }
    /// How long it worked, and how long the calling thread waited for that. Once ended.
    std::chrono::nanoseconds GetTime() const noexcept { return m_time; }
    std::chrono::nanoseconds GetWaitTime() const noexcept { return m_waited; }

private:
    struct Job {
        /// Null: the end.
        UniquePacket packet;
        std::vector<UniquePacket> results;
        std::exception_ptr failure;
        bool isDone = false;
    };

    void Submit(UniquePacket packet);
    void Loop();
    void Work(Job& job) noexcept;
    void GiveFirst(TakePacket const& give);

    std::unique_ptr<AudioReEncode> m_work;
    bool m_hasFailed = false;
    std::chrono::nanoseconds m_time{};
    std::chrono::nanoseconds m_waited{};
    bool m_ends = false;
    std::mutex m_mutex;
    std::condition_variable m_isWaiting;
    std::condition_variable m_isDone;
    /// In their order; of these wait for the thread:
    std::deque<Job> m_jobs;
    std::deque<Job*> m_waiting;
    /// Last, so that it ends first.
    std::jthread m_thread;
};

} // namespace Tarsel::Media
