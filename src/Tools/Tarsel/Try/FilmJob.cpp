#include "Tools/Tarsel/Try/FilmJob.h"

#include "Core/StartThread.h"
#include "Core/Throw.h"
#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Console/WholeFile.h"

#include <utility>

namespace Tarsel::Tools {

FilmJob::FilmJob(RunFilm run) : m_run(std::move(run)) {}

FilmJob::~FilmJob() {
    Stop();
}

void FilmJob::Start(std::vector<std::string> arguments, std::string const& chain) {
    std::lock_guard const lock(m_mutex);
    {
        std::lock_guard const lineLock(m_lineMutex);
        if (m_isRunning)
            Core::Throw<UsageException>("Wait for the film that is being written, or cancel it");
    }
    if (m_thread.joinable())
        m_thread.join();
    m_folder = std::make_unique<PrivateFolder>();
    std::string const file = m_folder->GetPath() / "chain.json";
    WholeFile whole(file, true);
    whole.Write(chain);
    whole.Publish();
    arguments.insert(arguments.end(), {"--chain", file});
    m_stop = {};
    {
        std::lock_guard const lineLock(m_lineMutex);
        m_isRunning = true;
        m_line = R"({"type":"none"})";
    }
    m_thread = Core::StartThread([this, arguments = std::move(arguments), stop = m_stop.get_token()] {
        m_run(arguments, stop, [this](std::string const& line) {
            std::lock_guard const lineLock(m_lineMutex);
            m_line = line;
        });
        std::lock_guard const lineLock(m_lineMutex);
        m_isRunning = false;
    });
}

std::string FilmJob::GetLastLine() const {
    std::lock_guard const lock(m_lineMutex);
    return m_line;
}

void FilmJob::Stop() {
    std::lock_guard const lock(m_mutex);
    m_stop.request_stop();
    if (m_thread.joinable())
        m_thread.join();
}

} // namespace Tarsel::Tools
