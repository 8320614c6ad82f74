#include "Tools/Tarsel/Chain/ClearPalettes.h"

#include "Conf/PixFmtDescription.h"
#include "Core/RefCount.h"
#include "Proc/Interfaces/IEffectDetails.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Tools {
namespace {

constexpr std::uint8_t s_leastOpaque = 128;
constexpr std::uint8_t s_clearIndex = 255;
constexpr std::size_t s_alpha = 3;

/// Which pixels are clear, row by row.
struct ClearMask {
    std::vector<bool> pixels;
    bool isAnyClear = false;
    bool isAnyBetween = false;
};

std::uint8_t* GetRow(Proc::WritablePlane const& plane, std::size_t row) noexcept {
    return plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize;
}

/// Leaves the picture opaque, and black where it was clear: palettes have black anyway.
ClearMask TakeMask(Proc::IDataVideo& rgba) {
    Conf::FrameInfo const info = rgba.GetFrameInfo();
    auto const plane = rgba.GetWritablePlane(0);
    ClearMask mask;
    mask.pixels.reserve(std::size_t{info.width} * info.height);
    for (std::size_t y = 0; y < info.height; ++y)
        for (std::size_t x = 0; x < info.width; ++x) {
            std::uint8_t* const pixel = GetRow(plane, y) + 4 * x;
            bool const isClear = pixel[s_alpha] < s_leastOpaque;
            mask.pixels.push_back(isClear);
            mask.isAnyClear = mask.isAnyClear || isClear;
            mask.isAnyBetween = mask.isAnyBetween || (pixel[s_alpha] != 0 && pixel[s_alpha] != 255);
            if (isClear)
                std::memset(pixel, 0, s_alpha);
            pixel[s_alpha] = 255;
        }
    return mask;
}

void ApplyMask(ClearMask const& mask, Proc::IDataVideo& paletted) {
    Conf::FrameInfo const info = paletted.GetFrameInfo();
    auto const plane = paletted.GetWritablePlane(0);
    for (std::size_t y = 0; y < info.height; ++y)
        for (std::size_t x = 0; x < info.width; ++x)
            if (mask.pixels[y * info.width + x])
                GetRow(plane, y)[x] = s_clearIndex;
    std::memset(paletted.GetAVFrame()->data[1] + std::size_t{4} * s_clearIndex, 0, 4);
}

class ClearPalettes final : public Core::RefCounted<Proc::IOneInputEffectVideo>,
                            public Proc::IEffectDetailsVideo {
public:
    ClearPalettes(SP<Proc::IOneInputEffectVideo> opaque, SP<Proc::IOneInputEffectVideo> reduced,
                  SP<Proc::IOneInputEffectVideo> toRgba, std::shared_ptr<std::atomic<bool>> losses)
        : m_opaque(std::move(opaque)), m_reduced(std::move(reduced)), m_toRgba(std::move(toRgba)),
          m_losses(std::move(losses)) {}

    Core::Property GetSettings() const override { return m_opaque->GetSettings(); }
    void SetSettings(Core::Property const& settings) override { m_opaque->SetSettings(settings); }
    Proc::Settings const& GetSettingsBase() const override { return m_opaque->GetSettingsBase(); }
    void SetSettings(Proc::Settings const& settings) override { m_opaque->SetSettings(settings); }
    std::int32_t GetInputFrameType() const override { return m_opaque->GetInputFrameType(); }

    void Reset() override {
        for (auto const& effect : {m_opaque, m_reduced, m_toRgba})
            effect->Reset();
    }

    void Process(SP<Proc::IDataVideo>& data) override {
        if (!data || data->GetPixelFormat() == Conf::PixFmt::PAL8 ||
            !Conf::PixFmtDescription::Find(data->GetPixelFormat()).HasAlpha()) {
            m_opaque->Process(data);
            return;
        }
        SP<Proc::IDataVideo> picture = data->Copy();
        m_toRgba->Process(picture);
        ClearMask const mask = TakeMask(*picture);
        if (mask.isAnyBetween)
            *m_losses = true;
        (mask.isAnyClear ? m_reduced : m_opaque)->Process(picture);
        if (mask.isAnyClear)
            ApplyMask(mask, *picture);
        data = std::move(picture);
    }

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        m_opaque->UpdateFormatCodec(format);
    }

    Proc::EffectTraits const& GetTraits() const noexcept override {
        static constexpr Proc::EffectTraits traits{
            .summary = "gives frames palettes, of which one color is clear", .depth = Proc::Keeps::Sometimes};
        return traits;
    }

    std::string Describe(Conf::IFormatCodecVideo const& format) const override {
        auto const* const details = dynamic_cast<Proc::IEffectDetailsVideo const*>(m_opaque.get());
        return details != nullptr ? details->Describe(format) : "palettes";
    }

    bool HasLost() const noexcept { return *m_losses; }

private:
    SP<Proc::IOneInputEffectVideo> m_opaque;
    SP<Proc::IOneInputEffectVideo> m_reduced;
    SP<Proc::IOneInputEffectVideo> m_toRgba;
    /// Of alpha that is neither clear nor opaque.
    std::shared_ptr<std::atomic<bool>> m_losses;
};

} // namespace

SP<Proc::IOneInputEffectVideo> MakeClearPalettes(SP<Proc::IOneInputEffectVideo> opaque,
                                                 SP<Proc::IOneInputEffectVideo> reduced,
                                                 SP<Proc::IOneInputEffectVideo> toRgba,
                                                 std::shared_ptr<std::atomic<bool>> losses) {
    return MakeSP<ClearPalettes>(std::move(opaque), std::move(reduced), std::move(toRgba), std::move(losses));
}

std::vector<std::string> DescribeClearPalettes(Proc::IOneInputEffectVideo const& effect) {
    auto const* const palettes = dynamic_cast<ClearPalettes const*>(&effect);
    if (palettes == nullptr || !palettes->HasLost())
        return {};
    return {"Made translucent pixels clear or opaque: palettes know nothing between."};
}

} // namespace Tarsel::Tools
