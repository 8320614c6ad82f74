#include "Host/Chain/VideoSegment.h"

#include "Core/Throw.h"
#include "Host/EffectRules.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

namespace Tarsel::Host {

VideoSegment::VideoSegment(int threads) : m_threads(threads) {}

VideoSegment::~VideoSegment() {
    for (auto const& worker : m_workers)
        worker->thread.request_stop();
}

bool VideoSegment::CanTake(Effect const& effect) {
    auto const* const details = dynamic_cast<Proc::IEffectDetailsVideo const*>(&effect);
    return details != nullptr && details->GetTraits().frameIndependent && HoldsNothing(details->GetTraits());
}

void VideoSegment::Append(SP<Effect> effect, std::string label, VideoChain::MakeEffect another) {
    m_asked.push_back(std::make_unique<VideoStep>(effect, label));
    auto settings = effect->GetSettingsBase().Clone();
    m_sources.push_back({std::move(effect), std::move(label), std::move(another), std::move(settings)});
}

auto VideoSegment::MakeWorker() const -> std::unique_ptr<Worker> {
    auto worker = std::make_unique<Worker>();
    for (Source const& source : m_sources) {
        SP<Effect> const& effect = worker->effects.emplace_back(source.another());
        if (!effect)
            Core::Throw<Proc::EffectException>("The maker of " + source.label + " returned no effect");
        effect->SetSettings(*source.settings);
        worker->steps.push_back(std::make_unique<VideoStep>(effect, source.label));
    }
    return worker;
}

/// With one worker the calling thread is it.
void VideoSegment::Start() {
    m_lease = Core::ThreadLease(m_threads);
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 0; i < m_lease.GetCount(); ++i)
        workers.push_back(MakeWorker());
    m_workers = std::move(workers);
    if (m_workers.size() == 1)
        return;
    for (std::size_t i = 0; i < m_workers.size(); ++i) {
        Worker& worker = *m_workers[i];
        try {
            worker.thread =
                std::jthread([this, &worker](std::stop_token const& stop) { Loop(stop, worker); });
        } catch (std::system_error const&) {
            m_workers.resize(std::max<std::size_t>(i, 1)); // as many as the system gives
            return;
        }
    }
}

void VideoSegment::Loop(std::stop_token const& stop, Worker& worker) {
    std::unique_lock lock(m_mutex);
    while (m_isWaiting.wait(lock, stop, [this] { return !m_waiting.empty(); })) {
        Job& job = *m_waiting.front();
        m_waiting.pop_front();
        lock.unlock();
        Work(worker, job);
        lock.lock();
        job.isDone = true;
        m_isDone.notify_all();
    }
}

void VideoSegment::Work(Worker& worker, Job& job) {
    try {
        SP<Proc::IDataVideo> frame = std::move(job.frame);
        for (auto const& step : worker.steps) {
            step->Feed(frame);
            frame = step->Take();
            if (!frame || step->Take())
                step->Blame("it does not return one frame for each, as its traits state");
        }
        job.result = std::move(frame);
    } catch (...) {
        job.failure = std::current_exception();
    }
}

void VideoSegment::Feed(SP<Proc::IDataVideo> const& frame) {
    if (m_workers.empty())
        Start();
    PassOnSettings();
    std::unique_lock lock(m_mutex);
    Job& job = m_jobs.emplace_back();
    job.frame = frame;
    if (m_workers.front()->thread.joinable()) {
        m_waiting.push_back(&job);
        m_isWaiting.notify_one();
        return;
    }
    Work(*m_workers.front(), job);
    job.isDone = true;
}

/// Those that the host has set since the last frame.
void VideoSegment::PassOnSettings() {
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        Source& source = m_sources[i];
        Proc::Settings const& present = source.effect->GetSettingsBase();
        if (present.IsEqualTo(*source.settings))
            continue;
        WaitForAll();
        auto settings = present.Clone();
        for (auto const& worker : m_workers)
            worker->effects[i]->SetSettings(*settings);
        source.settings = std::move(settings);
    }
}

void VideoSegment::WaitForAll() const {
    std::unique_lock lock(m_mutex);
    m_isDone.wait(lock, [this] { return std::ranges::all_of(m_jobs, &Job::isDone); });
}

SP<Proc::IDataVideo> VideoSegment::Take() {
    std::unique_lock lock(m_mutex);
    if (m_jobs.empty()) {
        lock.unlock();
        if (std::exchange(m_isEnding, false))
            EndSteps();
        return nullptr;
    }
    Job& first = m_jobs.front();
    // What is fed next is one more.
    bool const isFull = m_jobs.size() >= m_workers.size() + 2;
    if (!first.isDone && !isFull && !m_isEnding)
        return nullptr;
    m_isDone.wait(lock, [&] { return first.isDone; });
    Job const done = std::move(first);
    m_jobs.pop_front();
    lock.unlock();
    if (done.failure)
        std::rethrow_exception(done.failure);
    return done.result;
}

void VideoSegment::End() {
    m_isEnding = true;
}

void VideoSegment::EndSteps() {
    for (auto const& worker : m_workers)
        for (auto const& step : worker->steps) {
            step->End();
            if (step->Take())
                step->Blame("it held a frame back, though its traits state no delay");
        }
}

void VideoSegment::UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) const {
    for (auto const& step : m_asked)
        step->UpdateFormatCodec(format);
}

void VideoSegment::AddStatistics(std::vector<Core::Property>& statistics) const {
    WaitForAll();
    constexpr char const* processed = "Processed";
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        std::vector<Core::Property> each;
        for (auto const& worker : m_workers)
            worker->steps[i]->AddStatistics(each);
        if (each.empty()) {
            m_asked[i]->AddStatistics(statistics);
            continue;
        }
        std::int64_t sum = 0;
        bool isCounted = true;
        for (Core::Property const& one : each) {
            isCounted = isCounted && one.ChildExists(processed);
            sum += isCounted ? one[processed].GetInt64() : 0;
        }
        if (isCounted)
            each.front().SetChildT(processed, sum);
        statistics.push_back(std::move(each.front()));
    }
}

void VideoSegment::AddTimes(std::vector<StepTime>& times) const {
    WaitForAll();
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        std::vector<StepTime> each;
        for (auto const& worker : m_workers)
            worker->steps[i]->AddTimes(each);
        StepTime& sum = times.emplace_back(StepTime{.label = m_sources[i].label});
        for (StepTime const& time : each)
            Add(sum, time);
    }
}

std::vector<std::string> VideoSegment::GetNotes() const {
    WaitForAll();
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        for (auto const& worker : m_workers)
            for (std::string const& note : worker->steps[i]->GetNotes())
                if (std::ranges::find(notes, note) == notes.end())
                    notes.push_back(note);
    return notes;
}

} // namespace Tarsel::Host
