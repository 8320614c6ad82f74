#include "Tools/Tarsel/Chain/References.h"

#include "Host/VideoChain.h"
#include "Media/VideoReader.h"
#include "Tools/Tarsel/Chain/Steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace Tarsel::Tools {

class References::Reference {
public:
    explicit Reference(Media::Input input) : m_input(std::move(input)) {}

    void Open(Effects const& effects, std::int64_t start, std::stop_token const& stop) {
        m_reader.emplace(m_input, stop);
        m_start = start;
        Conf::DisplayMatrix const& matrix = m_reader->GetInfo().orientation;
        auto const orientation = matrix.GetOrientation();
        m_isTilted = !orientation;
        if (orientation && *orientation != 1)
            m_turn = MakeOrientationEffect(effects, matrix);
    }

    SP<Proc::IDataVideo const> GetShownAt(std::int64_t time) {
        if (!m_reader)
            return {};
        SP<Proc::IDataVideo const> picture = m_reader->GetShownAt(std::max(time, m_start) - m_start);
        if (!m_turn)
            return picture;
        if (picture != m_picture) {
            SP<Proc::IDataVideo> upright = picture->Copy();
            m_turn->Process(upright);
            m_upright = std::move(upright);
            m_picture = std::move(picture);
        }
        return m_upright;
    }

    std::filesystem::path const& GetPath() const noexcept { return m_input.GetName(); }

    std::vector<std::string> GetNotes() const {
        std::vector<std::string> notes;
        if (!m_reader)
            return notes;
        if (m_isTilted)
            notes.emplace_back(
                "Ignored its orientation tag, which is neither a mirroring nor a quarter turn.");
        for (std::string& note : m_reader->GetNotes())
            notes.push_back(std::move(note));
        for (std::string& note : notes)
            note = fmt::format("reference \"{}\": {}", GetPath().string(), note);
        return notes;
    }

private:
    Media::Input m_input;
    std::optional<Media::VideoReader> m_reader;
    std::int64_t m_start = 0;
    bool m_isTilted = false;
    /// Null where pictures are upright as they are stored.
    SP<Proc::IOneInputEffectVideo> m_turn;
    /// The last picture, and what became of it.
    SP<Proc::IDataVideo const> m_picture;
    SP<Proc::IDataVideo const> m_upright;
};

References::References() = default;

References::~References() = default;

Host::SecondFrames References::Add(Media::Input input) {
    m_references.push_back(std::make_shared<Reference>(std::move(input)));
    return [reference = m_references.back()](std::int64_t time) { return reference->GetShownAt(time); };
}

std::vector<std::filesystem::path> References::GetPaths() const {
    std::vector<std::filesystem::path> paths;
    for (auto const& reference : m_references)
        paths.push_back(reference->GetPath());
    return paths;
}

void References::Open(Effects const& effects, std::int64_t start, std::stop_token const& stop) {
    for (auto const& reference : m_references)
        Host::AtStep("reference", [&] { reference->Open(effects, start, stop); });
}

std::vector<std::string> References::GetNotes() const {
    std::vector<std::string> notes;
    for (auto const& reference : m_references)
        for (std::string& note : reference->GetNotes())
            notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Tools
