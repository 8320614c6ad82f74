#include "Media/Run/AudioWorker.h"

#include "Core/StartThread.h"
#include "Core/Stopwatch.h"
#include "Core/ThreadBudget.h"
#include "Host/FFmpegMessages.h"

#include <cstddef>
#include <utility>

extern "C" {
#include <libavcodec/packet.h>
}

namespace Tarsel::Media {
namespace {

/// Packets whose results are held back: enough for the thread to have something to do all the time.
constexpr std::size_t s_ahead = 8;

UniquePacket MoveOut(AVPacket& packet) {
    UniquePacket moved = MakePacket();
    av_packet_move_ref(moved.get(), &packet);
    return moved;
}

} // namespace

AudioWorker::AudioWorker(std::unique_ptr<AudioReEncode> work) : m_work(std::move(work)) {
    if (Core::ThreadBudget::Get() > 1)
        m_thread = Core::StartThread([this] { Loop(); });
}

AudioWorker::~AudioWorker() {
    {
        std::lock_guard const lock(m_mutex);
        m_ends = true;
    }
    m_isWaiting.notify_one();
}

void AudioWorker::Loop() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_isWaiting.wait(lock, [this] { return m_ends || !m_waiting.empty(); });
        if (m_ends)
            return;
        Job& job = *m_waiting.front();
        m_waiting.pop_front();
        lock.unlock();
        Work(job);
        lock.lock();
        job.isDone = true;
        m_isDone.notify_one();
    }
}

void AudioWorker::Work(Job& job) noexcept {
    if (m_hasFailed)
        return;
    Core::Stopwatch const watch(m_time);
    try {
        auto const give = [&](AVPacket& packet) { job.results.push_back(MoveOut(packet)); };
        if (job.packet != nullptr)
            m_work->Feed(*job.packet, give);
        else
            m_work->End(give);
        job.packet.reset();
        return;
    } catch (boost::exception const& failure) {
        Host::FFmpegMessages::AddTo(failure); // other threads know nothing of it
        job.failure = std::current_exception();
    } catch (...) {
        job.failure = std::current_exception();
    }
    m_hasFailed = true;
}

void AudioWorker::Submit(UniquePacket packet) {
    std::unique_lock lock(m_mutex);
    Job& job = m_jobs.emplace_back();
    job.packet = std::move(packet);
    if (m_thread.joinable()) {
        m_waiting.push_back(&job);
        m_isWaiting.notify_one();
        return;
    }
    lock.unlock();
    Core::Stopwatch const watch(m_waited);
    Work(job);
    job.isDone = true;
}

/// Of the first job, which is gone then.
void AudioWorker::GiveFirst(TakePacket const& give) {
    std::unique_lock lock(m_mutex);
    Job& first = m_jobs.front();
    {
        Core::Stopwatch const watch(m_waited);
        m_isDone.wait(lock, [&] { return first.isDone; });
    }
    Job const done = std::move(first);
    m_jobs.pop_front();
    lock.unlock();
    for (UniquePacket const& packet : done.results)
        give(*packet);
    if (done.failure)
        std::rethrow_exception(done.failure);
}

void AudioWorker::Feed(AVPacket& packet, TakePacket const& give) {
    Submit(MoveOut(packet));
    if (m_jobs.size() > s_ahead)
        GiveFirst(give);
}

void AudioWorker::End(TakePacket const& give) {
    Submit(nullptr);
    while (!m_jobs.empty())
        GiveFirst(give);
}

} // namespace Tarsel::Media
