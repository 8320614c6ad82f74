#pragma once

#include "Media/Parts.h"
#include "Tools/Tarsel/Parts/FileIdentity.h"
#include "Tools/Tarsel/Parts/PartNumber.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// The description beside a part of a video (Schemas/part.schema.json): whoever joins parts learns from it
/// what they are of.
struct PartFile {
    PartNumber part;
    /// What all parts of one video have in common: "input" and "references" by their identities, "run"
    /// (RunSettings.h) and "versions".
    nlohmann::ordered_json common;
    /// Of the part itself.
    FileIdentity identity;
    Media::PartFacts facts;
};

/// "part.mkv.json" for "part.mkv".
std::filesystem::path GetDescriptionPath(std::filesystem::path const& part);

/// What parts have in common that are made with these arguments. `settings` are those of the run,
/// `references` the files beside the input. Media::InputException.
nlohmann::ordered_json MakeCommon(std::filesystem::path const& input,
                                  std::vector<std::filesystem::path> const& references,
                                  nlohmann::ordered_json settings);

/// The text of the description.
std::string WritePartFile(PartFile const& file);
/// The description at this path. Media::InputException for one that is not there, or none.
PartFile ReadPartFile(std::filesystem::path const& path);

/// What is another in `is` than in `due`, "run.chain.steps.0.settings.sigma is 2, not 3"; "" for the same.
std::string FindDifference(nlohmann::ordered_json const& is, nlohmann::ordered_json const& due);

/// Why the file is not the one of that identity: "it has 12 bytes, not 13"; "" for the same.
/// Media::InputException.
std::string FindDifference(std::filesystem::path const& file, FileIdentity const& due);

} // namespace Tarsel::Tools
