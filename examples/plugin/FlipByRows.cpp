#include "FlipByRows.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SettingsProperty.h"

#include <algorithm>

using Tarsel::SP;
namespace Conf = Tarsel::Conf;
namespace Core = Tarsel::Core;
namespace Proc = Tarsel::Proc;

namespace {

void SwapRows(Proc::WritablePlane const& plane) {
    for (std::uint32_t top = 0, bottom = plane.rows; top + 1 < bottom; ++top) {
        --bottom;
        std::uint8_t* const first = plane.data + static_cast<std::ptrdiff_t>(top) * plane.lineSize;
        std::uint8_t* const last = plane.data + static_cast<std::ptrdiff_t>(bottom) * plane.lineSize;
        std::swap_ranges(first, first + plane.rowBytes, last);
    }
}

/// The settings class is the SDK's; this is one more way to do what it says.
class FlipByRows final : public Core::RefCounted<Proc::IOneInputEffectVideo> {
public:
    Core::Property GetSettings() const override { return Proc::Settings2Property(m_settings); }
    void SetSettings(Core::Property const& settings) override {
        m_settings = Proc::Property2SettingsFlip(settings);
    }
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        m_settings = dynamic_cast<Proc::SettingsEffectFlip const&>(settings);
    }
    void Reset() override {}
    std::int32_t GetInputFrameType() const override { return VideoFrames; }

    void Process(SP<Proc::IDataVideo>& data) override {
        if (!data)
            return; // nothing is held back
        if (m_settings.horizontal)
            Core::Throw<Proc::EffectException>("Rows can be flipped, columns cannot");
        if (!m_settings.vertical)
            return;
        // The caller keeps its frame as it is; pixels are copied only where they are written.
        SP<Proc::IDataVideo> const result = data->Copy();
        int const planes = Conf::PixFmtDescription::Find(data->GetPixelFormat()).GetPlaneCount();
        for (int plane = 0; plane < planes; ++plane)
            SwapRows(result->GetWritablePlane(plane));
        data = result;
    }

    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

private:
    Proc::SettingsEffectFlip m_settings;
};

} // namespace

SP<Proc::IOneInputEffectVideo> CreateFlipByRows(SP<Proc::IEffectFactory const> const& /*effects*/,
                                                SP<Proc::IFactoryDataVideo const> const& /*frames*/) {
    return Tarsel::MakeSP<FlipByRows>();
}
