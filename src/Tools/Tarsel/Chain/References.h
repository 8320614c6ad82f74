#pragma once

#include "Host/PairedEffect.h"
#include "Media/Input.h"
#include "Tools/Tarsel/Chain/Effects.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The films and still pictures that two-input effects take their second frames from, beside the film that is
/// worked on: upright like that one, and in step with it from the first picture of each. One thread at a
/// time.
class References {
public:
    References();
    ~References();

    /// Notes one down, without opening it. The function gives no frames before Open, and then as
    /// Media::VideoReader::GetShownAt, and throws as that does.
    Host::SecondFrames Add(Media::Input input);
    std::vector<std::filesystem::path> GetPaths() const;
    /// Opens all of them. `start` is when the film that is worked on starts, by the times of its frames, in
    /// microseconds. InputException, which names the file, InterruptedException.
    void Open(Effects const& effects, std::int64_t start, std::stop_token const& stop);
    /// What the user should know of them.
    std::vector<std::string> GetNotes() const;

private:
    class Reference;

    std::vector<std::shared_ptr<Reference>> m_references;
};

} // namespace Tarsel::Tools
