#pragma once

#include "Media/Input.h"
#include "Tools/Tarsel/Catalog/Catalog.h"
#include "Tools/Tarsel/Chain/Effects.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// What an effect makes with certain settings. Names are those of files.
struct GalleryShot {
    /// As -e takes it.
    std::string effect;
    /// That makes it of a file.
    std::string command;
    std::string picture;
    /// "" for video.
    std::string audio;
    /// Another picture, or other audio, than before.
    bool differs = true;
};

struct GalleryEffect {
    CatalogEntry entry;
    /// What all shots are made of, its effect being "".
    GalleryShot before;
    /// Of effects on two inputs; else "".
    std::string second;
    std::vector<GalleryShot> shots;
};

struct Shots {
    std::vector<GalleryEffect> effects;
    /// A picture of some of them side by side; "" where no effect leaves the size as it is.
    std::string overview;
};

/// Writes pictures and audio of every effect of the plug-in into the folder, which exists, and tells which.
/// The material is the beginning of `input`, or made up where it is "" or has no video or no audio. Effects
/// that come in a plug-in of others are shown with the settings they start with. Media::InputException for an
/// input that has neither, Media::OutputException, Media::InterruptedException, and as the effects. Texts in
/// the result live as long as the plug-in. Blocks.
Shots MakeShots(Effects const& effects, Media::Input const& input, std::filesystem::path const& folder,
                std::stop_token const& stop);

/// The page that shows them, HTML; `input` as above. Any thread.
std::string MakePage(Shots const& shots, std::string const& input);

/// By which pages of MakePage are known.
constexpr std::string_view s_galleryMark = "<meta name=\"generator\" content=\"tarsel gallery\">";

} // namespace Tarsel::Tools
