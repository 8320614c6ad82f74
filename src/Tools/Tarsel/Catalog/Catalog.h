#pragma once

#include "Host/EffectRegistry.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Chain/Effects.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// What a plug-in tells about one of its effects.
struct CatalogEntry {
    std::string classId;
    std::string implName;
    Host::EffectKind kind = Host::EffectKind::Video;
    /// Nothing for effects that do not tell.
    std::optional<Proc::EffectTraits> traits;
    std::span<Proc::Field const> fields;
    /// Everyday words for what the effect does, with blanks between them.
    std::string_view keywords;
};

/// The effects of a plug-in in the order of registration: all of them, or those that `words`, without "and"
/// and the like, find as the name, else as a part of it, else as keyword or key, else in the help; the
/// narrowest way by which all words find something. UsageException, with near names, when there are none.
/// Texts and fields live as long as the plug-in.
/// `isWanted` leaves out kinds; empty: none.
std::vector<CatalogEntry> MakeCatalog(Effects const& effects, std::vector<std::string> const& words,
                                      std::function<bool(Host::EffectKind)> const& isWanted = {});

/// What the traits say, for people: "may change alpha", "holds back up to 1 frames"; each goes on a
/// sentence that begins with "It". Of effects that do not tell only what their kind says.
std::vector<std::string> DescribeFacts(CatalogEntry const& entry);

/// For people: a line for each effect, its name and what it does, by kind; long ones go on in the next line.
std::string FormatOverview(std::vector<CatalogEntry> const& entries, std::size_t columns);

/// For people: a block for each effect, lines of at most `columns` characters where words allow.
std::string FormatCatalog(std::vector<CatalogEntry> const& entries, std::size_t columns);

/// For programs, as JSON. An object with
/// - "version": 1 (Schemas/list.schema.json);
/// - "plugin": the plug-in's file;
/// - "effects": an array, an object for each effect with
///   - "id", "implementation": strings; "kind": "video", "audio", "two-input video" or "two-input audio";
///   - "summary": one line of help, "" when the effect does not tell; "keywords": everyday words for it;
///   - "traits": null when the effect does not tell, else an object with
///     - "takes": the pixel formats it takes, "any" or "planar YUV"; "evenSize": whether only even sizes;
///     - "alpha", "depth", "range", "size": whether the effect keeps it: "always", "sometimes", "never";
///     - "roundsToChroma", "frameIndependent", "tail", "slices": booleans;
///     - "delayFrames", "delayMicroseconds", "framesPerFrame": integers;
///     - "looksBack", "looksAhead": integers, null for frames without end and of audio that depends on more;
///   - "facts": an array of strings, kind and traits in words (DescribeFacts);
///   - "parameters": an array, an object for each parameter with
///     - "key", "unit", "help": strings; "kind": the name of a Proc::FieldKind;
///     - "default": a boolean for flags, a number for integers and reals, else the text as -e takes it;
///     - "minimum", "maximum": numbers for integers and reals, null without limit and for other kinds;
///     - "words": an array of objects with "word", "value" (an integer) and "help";
///     - "columns": an array of objects with "key", "kind", "minimum", "maximum", "unit" and "help": what one
///       entry of a list consists of.
///   - "examples": commands that show the effect at work.
/// Members may be added; those here stay.
std::string CatalogToJson(Effects const& effects, std::vector<CatalogEntry> const& entries);

} // namespace Tarsel::Tools
