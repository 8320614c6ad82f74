#include "Host/Chain/VideoSegment.h"

#include "Core/Throw.h"
#include "Host/EffectRules.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Tarsel::Host {

VideoSegment::VideoSegment(int threads) : m_threads(threads) {}

VideoSegment::~VideoSegment() {
    {
        std::lock_guard const lock(m_mutex);
        m_begun = m_frames.size(); // no more
    }
    if (m_pool)
        for (Frame& frame : m_frames)
            m_pool->Drop(frame);
}

bool VideoSegment::CanTake(Effect const& effect) {
    auto const* const details = dynamic_cast<Proc::IEffectDetailsVideo const*>(&effect);
    return details != nullptr && details->GetTraits().frameIndependent && HoldsNothing(details->GetTraits());
}

void VideoSegment::Append(SP<Effect> effect, std::string label, VideoChain::MakeEffect another,
                          StepTimes times) {
    m_asked.push_back(std::make_unique<VideoStep>(effect, label, times));
    auto settings = effect->GetSettingsBase().Clone();
    m_sources.push_back(
        {std::move(effect), std::move(label), std::move(another), std::move(times), std::move(settings)});
}

auto VideoSegment::MakeWorker() const -> Worker {
    Worker worker;
    for (Source const& source : m_sources)
        AtStep(source.label, [&] {
            SP<Effect> const& effect = worker.effects.emplace_back(source.another());
            if (!effect)
                Core::Throw<Proc::EffectException>("The maker of " + source.label + " returned no effect");
            effect->SetSettings(*source.settings);
            worker.steps.push_back(std::make_unique<VideoStep>(effect, source.label, source.times));
        });
    return worker;
}

void VideoSegment::Start() {
    auto pool = m_threads > 1 ? Core::WorkPool::Share() : nullptr;
    int const count = pool ? std::min(m_threads, pool->GetCount()) : 1;
    std::vector<Worker> workers;
    for (int i = 0; i < count; ++i)
        workers.push_back(MakeWorker());
    std::vector<Worker*> free;
    for (Worker& worker : workers)
        free.push_back(&worker);
    m_free = std::move(free);
    m_workers = std::move(workers); // its elements stay where they are
    m_pool = std::move(pool);
}

void VideoSegment::Pass(Frame& frame) noexcept {
    try {
        for (auto const& step : frame.worker->steps) {
            step->Feed(frame.data);
            frame.data = step->Take();
            if (!frame.data || step->Take())
                step->Blame("it does not return one frame for each, as its traits state");
        }
    } catch (...) {
        frame.failure = std::current_exception();
    }
}

void VideoSegment::WorkOn(Frame& frame) noexcept {
    Pass(frame);
    std::lock_guard const lock(m_mutex);
    m_free.push_back(frame.worker);
    frame.isDone = true;
    BeginNext();
}

/// With the lock held.
void VideoSegment::BeginNext() noexcept {
    if (m_free.empty() || m_begun == m_frames.size())
        return;
    Frame& frame = m_frames[m_begun++];
    frame.worker = m_free.back();
    m_free.pop_back();
    if (m_pool)
        m_pool->Add(frame);
}

void VideoSegment::Feed(SP<Proc::IDataVideo> const& frame) {
    if (m_workers.empty())
        Start();
    PassOnSettings();
    {
        std::lock_guard const lock(m_mutex);
        m_frames.emplace_back(*this, frame);
        BeginNext();
    }
    if (!m_pool)
        m_frames.back().Work();
}

/// Those that the host has set since the last frame.
void VideoSegment::PassOnSettings() {
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        Source& source = m_sources[i];
        Proc::Settings const& present = source.effect->GetSettingsBase();
        if (present.IsEqualTo(*source.settings))
            continue;
        FinishAll();
        auto settings = present.Clone();
        AtStep(source.label, [&] {
            for (Worker const& worker : m_workers)
                worker.effects[i]->SetSettings(*settings);
        });
        source.settings = std::move(settings);
    }
}

/// Each begins once one before it is done.
void VideoSegment::FinishAll() const {
    if (m_pool)
        for (Frame& frame : m_frames)
            m_pool->Finish(frame);
}

SP<Proc::IDataVideo> VideoSegment::Take() {
    if (m_frames.empty()) {
        if (std::exchange(m_isEnding, false))
            EndSteps();
        return nullptr;
    }
    Frame& first = m_frames.front();
    {
        std::lock_guard const lock(m_mutex);
        // What is fed next is one more.
        bool const isFull = m_frames.size() >= m_workers.size() + 2;
        if (!first.isDone && !isFull && !m_isEnding)
            return nullptr;
    }
    if (m_pool)
        m_pool->Finish(first);
    SP<Proc::IDataVideo> const result = std::move(first.data);
    std::exception_ptr const failure = std::move(first.failure);
    {
        std::lock_guard const lock(m_mutex);
        m_frames.pop_front();
        --m_begun;
    }
    if (failure)
        std::rethrow_exception(failure);
    return result;
}

void VideoSegment::End() {
    m_isEnding = true;
}

void VideoSegment::EndSteps() {
    for (Worker const& worker : m_workers)
        for (auto const& step : worker.steps) {
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
    FinishAll();
    constexpr char const* processed = "Processed";
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        std::vector<Core::Property> each;
        for (Worker const& worker : m_workers)
            worker.steps[i]->AddStatistics(each);
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
    FinishAll();
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        std::vector<StepTime> each;
        for (Worker const& worker : m_workers)
            worker.steps[i]->AddTimes(each);
        StepTime& sum = times.emplace_back(StepTime{.label = m_sources[i].label});
        for (StepTime const& time : each)
            Add(sum, time);
    }
}

std::vector<std::string> VideoSegment::GetNotes() const {
    FinishAll();
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        for (Worker const& worker : m_workers)
            for (std::string const& note : worker.steps[i]->GetNotes())
                if (std::ranges::find(notes, note) == notes.end())
                    notes.push_back(note);
    return notes;
}

} // namespace Tarsel::Host
