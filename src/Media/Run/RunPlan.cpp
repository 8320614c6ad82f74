#include "Media/Run/RunPlan.h"

namespace Tarsel::Media {

std::vector<std::string> RunPlan::ListNotes() const {
    std::vector<std::string> all;
    for (StreamPlan const& stream : streams)
        all.insert(all.end(), stream.notes.begin(), stream.notes.end());
    all.insert(all.end(), notes.begin(), notes.end());
    return all;
}

} // namespace Tarsel::Media
