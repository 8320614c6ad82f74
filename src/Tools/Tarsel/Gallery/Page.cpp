#include "Proc/Settings/Field.h"
#include "Tools/Tarsel/Console/Console.h"
#include "Tools/Tarsel/Gallery/Gallery.h"

#include <fmt/format.h>

namespace Tarsel::Tools {
namespace {

constexpr std::string_view s_style = R"(
:root { color-scheme: light dark; --line: #c8ccd0; --soft: #f1f3f5; --ink: #14181c; --page: #fff; --link: #0b57a4; }
@media (prefers-color-scheme: dark) {
  :root { --line: #3a4148; --soft: #1d2227; --ink: #e6eaee; --page: #121518; --link: #7db7f0; }
}
body { margin: 0 auto; max-width: 84rem; padding: 1rem; background: var(--page); color: var(--ink);
       font: 1rem/1.5 system-ui, sans-serif; }
a { color: var(--link); }
a:focus-visible, summary:focus-visible, code:focus-visible { outline: 3px solid var(--link); outline-offset: 2px; }
nav ul { display: flex; flex-wrap: wrap; gap: .25rem 1rem; list-style: none; padding: 0; }
section { border-top: 1px solid var(--line); padding: 1rem 0; }
.shots { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 16rem), 1fr)); gap: 1rem; }
figure { margin: 0; min-width: 0; }
img { max-width: 100%; height: auto; display: block; border: 1px solid var(--line); }
audio { width: 100%; }
figcaption { overflow-wrap: anywhere; }
code { background: var(--soft); padding: .1rem .3rem; user-select: all; }
.table { overflow-x: auto; }
table { border-collapse: collapse; }
th, td { text-align: left; vertical-align: top; padding: .2rem .8rem .2rem 0; border-bottom: 1px solid var(--line); }
)";

std::string EscapeHtml(std::string_view text) {
    std::string result;
    for (char const character : text)
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    return result;
}

std::string_view GetSummary(CatalogEntry const& entry) {
    return entry.traits ? entry.traits->summary : std::string_view();
}

std::string FormatPicture(std::string const& file, std::string const& alt) {
    return fmt::format(R"(<img src="{}" alt="{}" loading="lazy">)", EscapeHtml(file), EscapeHtml(alt));
}

std::string FormatAudio(std::string const& file, std::string const& label) {
    return file.empty() ? ""
                        : fmt::format(R"(<audio controls preload="none" src="{}" aria-label="{}"></audio>)",
                                      EscapeHtml(file), EscapeHtml(label));
}

std::string FormatFigure(GalleryShot const& shot, std::string const& caption, std::string const& alt) {
    return fmt::format("<figure>{}{}<figcaption>{}</figcaption></figure>\n", FormatPicture(shot.picture, alt),
                       FormatAudio(shot.audio, alt), caption);
}

std::string FormatParameters(CatalogEntry const& entry) {
    if (entry.fields.empty())
        return "<p>No parameters.</p>\n";
    std::string out = "<details><summary>Parameters</summary><div class=\"table\"><table>\n<thead><tr><th "
                      "scope=\"col\">key</th><th scope=\"col\">default</th><th scope=\"col\">legal</th><th "
                      "scope=\"col\">meaning</th></tr></thead>\n<tbody>\n";
    for (Proc::Field const& field : entry.fields) {
        std::string const initial = ToText(field, GetDefault(field));
        out +=
            fmt::format("<tr><th scope=\"row\"><code>{}</code></th><td>{}</td><td>{}</td><td>{}</td></tr>\n",
                        EscapeHtml(field.key), EscapeHtml(initial.empty() ? "none" : initial),
                        EscapeHtml(GetRangeText(field)), EscapeHtml(field.help));
    }
    return out + "</tbody></table></div></details>\n";
}

std::string FormatEffect(GalleryEffect const& effect) {
    CatalogEntry const& entry = effect.entry;
    bool const isAudio = entry.kind == Host::EffectKind::Audio;
    std::string const id = EscapeHtml(entry.classId);
    std::string out =
        fmt::format("<section id=\"{0}\" aria-labelledby=\"{0}-title\">\n<h2 id=\"{0}-title\">{0} "
                    "<small>({1})</small></h2>\n<p>{2}</p>\n",
                    id, GetName(entry.kind), EscapeHtml(MakeSentence(std::string(GetSummary(entry)))));
    std::string facts;
    for (std::string const& fact : DescribeFacts(entry))
        facts += (facts.empty() ? "It " : "; ") + fact;
    if (!facts.empty())
        out += fmt::format("<p>{}.</p>\n", EscapeHtml(facts));
    out += "<div class=\"shots\">\n";
    out += FormatFigure(effect.before, "before",
                        isAudio ? "Waveform and frequencies before" : "The frame before");
    if (!effect.second.empty())
        out += FormatFigure({"", "", effect.second, "", false}, "the second input",
                            "The frame of the second input");
    for (GalleryShot const& shot : effect.shots) {
        std::string const alt =
            (isAudio ? "Waveform and frequencies after " : "The frame after ") + shot.effect;
        std::string caption = fmt::format("<code tabindex=\"0\">{}</code>", EscapeHtml(shot.command));
        if (!shot.differs)
            caption += " changes nothing here.";
        out += FormatFigure(shot, caption, alt);
    }
    return out + "</div>\n" + FormatParameters(entry) + "</section>\n";
}

} // namespace

std::string MakePage(Shots const& shots, std::string const& input) {
    std::string contents;
    std::string sections;
    for (GalleryEffect const& effect : shots.effects) {
        contents += fmt::format("<li><a href=\"#{0}\">{0}</a></li>\n", EscapeHtml(effect.entry.classId));
        sections += FormatEffect(effect);
    }
    std::string const source =
        input.empty() ? "computed pictures and audio" : "the beginning of " + EscapeHtml(input);
    std::string const overview =
        shots.overview.empty()
            ? ""
            : fmt::format("<p>{}</p>\n", FormatPicture(shots.overview, "Some effects side by side"));
    return fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n{}\n"
        "<title>Gallery of effects</title>\n<style>{}</style>\n</head>\n<body>\n<header>\n"
        "<h1>Gallery of effects</h1>\n<p>{} effects, shown on {}.</p>\n{}</header>\n"
        "<nav aria-label=\"Effects\"><ul>\n{}</ul></nav>\n<main>\n{}</main>\n</body>\n</html>\n",
        s_galleryMark, s_style, shots.effects.size(), source, overview, contents, sections);
}

} // namespace Tarsel::Tools
