#include "Tools/Tarsel/Console/HeardErrors.h"

#include <utility>

namespace Tarsel::Tools {
namespace {

thread_local HeardErrors::OfInput* t_input = nullptr;

} // namespace

HeardErrors::OfInput::OfInput() noexcept {
    t_input = this;
}

HeardErrors::OfInput::~OfInput() {
    t_input = nullptr;
}

void HeardErrors::Hear(int level, std::string_view line) {
    if (t_input != nullptr) {
        t_input->m_errors.Hear(level, line);
        return;
    }
    std::lock_guard const lock(m_mutex);
    m_others.Hear(level, line);
}

std::vector<std::string> HeardErrors::TakeNotes() {
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_others, {}).GetNotes();
}

} // namespace Tarsel::Tools
