#include "Core/Throw.h"
#include "Host/AudioChain.h"
#include "Host/EffectRules.h"
#include "Host/EffectStep.h"
#include "Host/PairedEffect.h"
#include "Host/VideoChain.h"
#include "Media/AudioReader.h"
#include "Media/AudioWriter.h"
#include "Media/ImageWriter.h"
#include "Media/MediaExceptions.h"
#include "Proc/Algorithms/AudioAlg/DataAudioRef.h"
#include "Proc/Data/DataAudioFF.h"
#include "Tools/Tarsel/Catalog/Examples.h"
#include "Tools/Tarsel/Chain/PrivateFolder.h"
#include "Tools/Tarsel/Chain/References.h"
#include "Tools/Tarsel/Gallery/Gallery.h"
#include "Tools/Tarsel/Gallery/Material.h"
#include "Tools/Tarsel/Preview/AudioPreview.h"
#include "Tools/Tarsel/Preview/Pictures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Frame = SP<Proc::IDataVideo>;
using Clip = std::vector<Frame>;
using Audio = std::vector<SP<Proc::IDataAudio>>;

constexpr Size s_size{352, 220};
constexpr int s_frames = 8;
/// The frame that is shown: effects that look at others have seen some by then.
constexpr std::size_t s_shown = 5;
constexpr std::int64_t s_frameTime = 40'000;
constexpr std::int64_t s_mostAudio = 5'000'000;
constexpr std::uint32_t s_audioWidth = 352;
/// Of the overview.
constexpr std::size_t s_mostPanels = 12;
constexpr std::size_t s_columns = 4;

/// What shows the work of an effect, where a photo does not.
constexpr std::pair<std::string_view, Material> s_materials[]{{"deshake", Material::Shaky},
                                                              {"stabilizer", Material::Shaky},
                                                              {"denoise-chroma-luma", Material::Grainy},
                                                              {"denoise-dct", Material::Grainy},
                                                              {"denoise-wavelet", Material::Grainy},
                                                              {"remove-grain", Material::Grainy},
                                                              {"smart-blur", Material::Grainy},
                                                              {"deinterlace", Material::Interlaced}};

Material ChooseMaterial(std::string_view effect) {
    for (auto const& [name, material] : s_materials)
        if (name == effect)
            return material;
    return Material::Photo;
}

/// The first frames of a video, upright and no wider than those made up; none where it has no video.
Clip ReadClip(Effects const& effects, Media::Input const& input, std::stop_token const& stop) {
    References source;
    Host::SecondFrames const read = source.Add(input);
    source.Open(effects, 0, stop);
    Clip clip;
    for (int i = 0; i < s_frames; ++i) {
        Frame const frame = read(i * s_frameTime)->Copy();
        Size const size = GetShownSize(*frame, 1);
        double const scale =
            std::min({1.0, double(s_size.width) / size.width, 1.5 * s_size.height / size.height});
        clip.push_back(ToRgb(frame, GetShownSize(*frame, scale))->Copy());
        clip.back()->SetTime(i * s_frameTime);
        clip.back()->SetDuration(s_frameTime);
    }
    return clip;
}

Audio ReadAudio(Media::Input const& input, std::stop_token const& stop) {
    Media::AudioReader reader(input, stop);
    Audio audio;
    while (SP<Proc::IDataAudio> const block = reader.Next()) {
        if (block->GetTime() >= s_mostAudio)
            break;
        audio.push_back(block);
    }
    return audio;
}

bool AreEqual(Proc::IDataVideo const& a, Proc::IDataVideo const& b) {
    Proc::ReadOnlyPlane const x = a.GetReadOnlyPlane(0);
    Proc::ReadOnlyPlane const y = b.GetReadOnlyPlane(0);
    if (x.rowBytes != y.rowBytes || x.rows != y.rows)
        return false;
    for (std::ptrdiff_t row = 0; row < std::ptrdiff_t{x.rows}; ++row)
        if (std::memcmp(x.data + row * x.lineSize, y.data + row * y.lineSize, x.rowBytes) != 0)
            return false;
    return true;
}

/// All samples, and how they are stored.
std::string ToBytes(Audio const& audio) {
    std::string bytes;
    for (auto const& block : audio) {
        bytes += std::to_string(static_cast<int>(block->GetSampleFormat()));
        for (int plane = 0; plane < Proc::CountPlanes(*block); ++plane) {
            Proc::AudioRef const ref = Proc::GetPlaneRef(*block, plane);
            bytes.append(reinterpret_cast<char const*>(ref.samples), static_cast<std::size_t>(ref.lineSize));
        }
    }
    return bytes;
}

Clip Apply(SP<Proc::IOneInputEffectVideo> const& effect, Clip const& clip) {
    Host::VideoChain chain;
    chain.Append(effect);
    Clip results;
    auto const takeAll = [&] {
        while (Frame result = chain.Take())
            results.push_back(std::move(result));
    };
    for (Frame const& frame : clip) {
        chain.Feed(frame->Copy());
        takeAll();
    }
    chain.End();
    takeAll();
    return results;
}

class Studio {
public:
    Studio(Effects const& effects, std::filesystem::path folder, std::stop_token stop)
        : m_effects(effects), m_folder(std::move(folder)), m_stop(std::move(stop)) {}

    void Read(Media::Input const& input) {
        std::exception_ptr failure;
        try {
            m_input = ReadClip(m_effects, input, m_stop);
        } catch (Media::InputException const&) {
            failure = std::current_exception();
        }
        try {
            m_audio = ReadAudio(input, m_stop);
        } catch (Media::InputException const&) {
            if (failure)
                std::rethrow_exception(failure);
        }
    }

    GalleryEffect Show(CatalogEntry const& entry) {
        bool const isAudio = entry.kind == Host::EffectKind::Audio;
        GalleryEffect result{entry, isAudio ? ShowAudio() : ShowClip(ChooseMaterial(entry.classId)), {}, {}};
        if (entry.kind == Host::EffectKind::TwoInputVideo)
            result.second = ShowClip(Material::Dusk).picture;
        static constexpr std::string_view plain[]{""};
        std::span<std::string_view const> const examples = GetExampleSettings(entry.classId);
        for (std::string_view const settings : examples.empty() ? plain : examples) {
            if (m_stop.stop_requested())
                Core::Throw<Media::InterruptedException>("Interrupted: the gallery was not written");
            std::string const effect = entry.classId + (settings.empty() ? "" : " ") + std::string(settings);
            std::string const name = fmt::format("{}-{}", entry.classId, result.shots.size() + 1);
            result.shots.push_back(isAudio ? ShootAudio(effect, name) : Shoot(entry, effect, name));
            result.shots.back().command = MakeExample(entry, settings);
        }
        return result;
    }

    /// Effects on one picture, side by side, as many as there are and fit; its name.
    std::string WriteOverview() const {
        std::vector<std::vector<Panel>> rows;
        for (std::size_t i = 0; i < m_panels.size(); ++i) {
            if (i % s_columns == 0)
                rows.emplace_back();
            rows.back().push_back(m_panels[i]);
        }
        if (rows.empty())
            return {};
        constexpr char const* name = "overview.png";
        WritePicture(DrawSheet(rows), name);
        return name;
    }

private:
    Clip const& GetClip(Material material) {
        if (!m_input.empty() && material != Material::Dusk)
            return m_input;
        Clip& clip = m_clips[material];
        if (clip.empty())
            clip = GetScene().MakeClip(material, s_frames);
        return clip;
    }

    Scene const& GetScene() {
        if (!m_scene)
            m_scene.emplace(s_size);
        return *m_scene;
    }

    Audio const& GetAudio() {
        if (m_audio.empty())
            m_audio = MakeMusic();
        return m_audio;
    }

    void WritePicture(Frame const& picture, std::string const& name) const {
        (void)Media::WriteImage(picture, {m_folder / name, {}, false});
    }

    GalleryShot ShowClip(Material material) {
        static std::map<Material, std::string> const names{{Material::Photo, "photo.jpg"},
                                                           {Material::Dusk, "dusk.jpg"},
                                                           {Material::Grainy, "grainy.jpg"},
                                                           {Material::Shaky, "shaky.jpg"},
                                                           {Material::Interlaced, "interlaced.jpg"}};
        bool const isInput = !m_input.empty() && material != Material::Dusk;
        std::string const name = isInput ? "before.jpg" : names.at(material);
        if (!std::filesystem::exists(m_folder / name))
            WritePicture(GetClip(material)[s_shown], name);
        return {"", "", name, "", false};
    }

    SP<Proc::IOneInputEffectVideo> MakeEffect(CatalogEntry const& entry, std::string const& text) {
        Host::EffectStep const step = Host::ParseEffectStep(text);
        if (entry.kind != Host::EffectKind::TwoInputVideo)
            return Host::MakeVideoEffect(*m_effects.factory, step);
        Frame const second = GetClip(Material::Dusk)[s_shown];
        return Host::PairEffect(Host::MakeTwoInputVideoEffect(*m_effects.factory, step),
                                [second](std::int64_t) { return second; });
    }

    GalleryShot Shoot(CatalogEntry const& entry, std::string const& effect, std::string const& name) {
        Clip const& clip = GetClip(ChooseMaterial(entry.classId));
        std::string own = effect;
        std::optional<PrivateFolder> folder;
        if (WorksInTwoPasses(entry.classId)) {
            std::string const path = " path=" + (folder.emplace().GetPath() / "motions.trf").string();
            (void)Apply(MakeEffect(entry, entry.classId + " detect=1" + path), clip);
            own += " detect=0" + path;
        }
        bool const isAlone =
            entry.traits && entry.traits->frameIndependent && Host::HoldsNothing(*entry.traits);
        Clip const results = Apply(MakeEffect(entry, own), isAlone ? Clip{clip[s_shown]} : clip);
        if (results.empty())
            Core::Throw<Media::OutputException>(
                fmt::format("There is nothing to show: {} gives no frames", effect));
        auto const isLater = [&](Frame const& frame) { return frame->GetTime() > clip[s_shown]->GetTime(); };
        auto const later = std::ranges::find_if(results, isLater);
        Frame const& result = later == results.begin() ? results.front() : *(later - 1);
        Frame const shown = ToRgb(result, GetShownSize(*result, 1));
        GalleryShot shot{effect, "", name + ".jpg", "", !AreEqual(*shown, *clip[s_shown])};
        WritePicture(shown, shot.picture);
        bool const isFirst = m_panels.empty() || !m_panels.back().label.starts_with(entry.classId);
        if (isFirst && shot.differs && ChooseMaterial(entry.classId) == Material::Photo &&
            GetShownSize(*shown, 1) == GetShownSize(*clip[s_shown], 1) && m_panels.size() < s_mostPanels)
            m_panels.push_back({shown, effect});
        return shot;
    }

    GalleryShot WriteAudio(Audio const& audio, std::string const& effect, std::string const& name) const {
        GalleryShot shot{effect, "", name + ".png", name + ".wav", true};
        Conf::SampleInfo const format = audio.front()->GetSampleInfo();
        AudioPicture picture(format, s_audioWidth);
        Media::AudioWriter writer({m_folder / shot.audio, {}, false, "pcm_s16le", {}, format});
        for (auto const& block : audio) {
            picture.Add(*block);
            writer.Write(*block);
        }
        writer.Publish();
        std::vector<std::vector<Panel>> rows;
        for (Panel& panel : picture.Draw(s_audioWidth, "waveform"))
            rows.push_back({std::move(panel)});
        WritePicture(DrawSheet(rows), shot.picture);
        return shot;
    }

    GalleryShot ShowAudio() {
        if (m_audioBefore.picture.empty())
            m_audioBefore = WriteAudio(GetAudio(), "", "audio");
        return m_audioBefore;
    }

    GalleryShot ShootAudio(std::string const& effect, std::string const& name) {
        Host::AudioChain chain;
        chain.Append(Host::MakeAudioEffect(*m_effects.factory, Host::ParseEffectStep(effect)));
        Audio results;
        auto const takeAll = [&] {
            while (SP<Proc::IDataAudio> result = chain.Take())
                results.push_back(std::move(result));
        };
        for (auto const& block : GetAudio()) {
            auto const own = MakeSP<Proc::DataAudioFF>(*block->GetAVFrame());
            own->SetTime(block->GetTime());
            own->SetDuration(block->GetDuration());
            chain.Feed(own);
            takeAll();
        }
        chain.End();
        takeAll();
        if (results.empty())
            Core::Throw<Media::OutputException>(
                fmt::format("There is nothing to hear: {} gives no audio", effect));
        GalleryShot shot = WriteAudio(results, effect, name);
        shot.differs = ToBytes(results) != ToBytes(GetAudio());
        return shot;
    }

    Effects const& m_effects;
    std::filesystem::path m_folder;
    std::stop_token m_stop;
    Clip m_input;
    Audio m_audio;
    std::optional<Scene> m_scene;
    std::map<Material, Clip> m_clips;
    GalleryShot m_audioBefore;
    std::vector<Panel> m_panels;
};

} // namespace

Shots MakeShots(Effects const& effects, Media::Input const& input, std::filesystem::path const& folder,
                std::stop_token const& stop) {
    Studio studio(effects, folder, stop);
    if (!input.GetName().empty())
        studio.Read(input);
    Shots result;
    for (CatalogEntry const& entry : MakeCatalog(effects, {}))
        if (entry.kind != Host::EffectKind::TwoInputAudio) // no way to make them
            result.effects.push_back(studio.Show(entry));
    result.overview = studio.WriteOverview();
    return result;
}

} // namespace Tarsel::Tools
