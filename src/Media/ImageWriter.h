#pragma once

#include "Core/RefCount.h"
#include "Media/Api.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// A picture file to be made.
struct ImageFileOptions {
    /// As in RunOptions.
    std::filesystem::path output;
    /// What it is made of: the output may not be one of them.
    std::vector<std::filesystem::path> inputs = {};
    /// An existing output may be replaced.
    bool overwrite = false;
    /// As in RunOptions, of an image: "png".
    std::string container = {};
};

/// What WriteImage would refuse whatever the picture. For programs that have long work to do before.
/// OptionsException, also for a name that is not that of a picture; OutputException. Any thread.
TARSEL_MEDIA_API void CheckImageFile(ImageFileOptions const& options);

/// Writes one picture, not null, into a file of its own, which appears under its name only when it is
/// complete; after a failure nothing is left behind. The picture is read, not kept. Returns what the user
/// should know, one sentence each: what the format could not hold. OptionsException, OutputException. Any
/// thread.
TARSEL_MEDIA_API std::vector<std::string> WriteImage(SP<Proc::IDataVideo> const& picture,
                                                     ImageFileOptions const& options);

} // namespace Tarsel::Media
