#include "Dim.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/SettingsProperty.h"

using Tarsel::SP;
namespace Conf = Tarsel::Conf;
namespace Core = Tarsel::Core;
namespace Proc = Tarsel::Proc;

namespace {

constexpr std::array s_fields{
    Proc::MakeField<&SettingsDim::percent>({.key = "percent",
                                            .initial = 0,
                                            .minimum = 0,
                                            .maximum = 100,
                                            .unit = "percent",
                                            .help = "light to take away"}),
};
constexpr Proc::SettingsTable s_table = Proc::MakeTable("dim", s_fields, "dark darken brightness light");

} // namespace

std::string const SettingsDim::CLASS_ID{s_table.classId};

Proc::SettingsTable const& SettingsDim::GetTable() noexcept {
    return s_table;
}

namespace {

class Dim final : public Core::RefCounted<Proc::IOneInputEffectVideo>, public Proc::IEffectDetailsVideo {
public:
    Core::Property GetSettings() const override { return Proc::Settings2Property(m_settings); }
    void SetSettings(Core::Property const& settings) override {
        m_settings = Proc::Property2Settings<SettingsDim>(settings);
    }
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }
    void SetSettings(Proc::Settings const& settings) override {
        m_settings = dynamic_cast<SettingsDim const&>(settings);
    }
    void Reset() override {}
    std::int32_t GetInputFrameType() const override { return VideoFrames; }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    Proc::EffectTraits const& GetTraits() const noexcept override {
        static constexpr Proc::EffectTraits s_traits{
            .summary = "darkens frames", .takes = Proc::Takes::PlanarYuv, .depth = Proc::Keeps::Never};
        return s_traits;
    }
    std::string Describe(Conf::IFormatCodecVideo const&) const override {
        return m_settings.IsEmpty() ? "" : "dim by " + std::to_string(m_settings.percent) + " %";
    }

    void Process(SP<Proc::IDataVideo>& data) override {
        if (!data || m_settings.IsEmpty())
            return;
        auto const& format = Conf::PixFmtDescription::Find(data->GetPixelFormat());
        if (format.IsRgb() || format.GetPlaneCount() == 2)
            Core::Throw<Proc::EffectException>("dim takes planar YUV");
        // The caller keeps its frame as it is; pixels are copied only where they are written.
        SP<Proc::IDataVideo> const result = data->Copy();
        Proc::WritablePlane const luma = result->GetWritablePlane(0);
        // Samples of more than 8 bits have two bytes, in the order that the format states.
        std::size_t const bytes = format.GetDepth() > 8 ? 2 : 1;
        bool const isBig = (format.GetFlags() & Conf::PixFmtDescription::BigEndian) != 0;
        int const black = format.IsFullRange(data->GetColorSpace()) ? 0 : 16 << (format.GetDepth() - 8);
        for (std::uint32_t y = 0; y < luma.rows; ++y) {
            std::uint8_t* const row = luma.data + static_cast<std::ptrdiff_t>(y) * luma.lineSize;
            for (std::size_t x = 0; x + bytes <= luma.rowBytes; x += bytes) {
                std::uint8_t& low = row[x + (isBig ? bytes - 1 : 0)];
                std::uint8_t& high = row[x + (isBig ? 0 : bytes - 1)];
                int const sample = bytes == 1 ? low : high << 8 | low;
                int const dimmed = black + (sample - black) * (100 - m_settings.percent) / 100;
                high = static_cast<std::uint8_t>(dimmed >> 8);
                low = static_cast<std::uint8_t>(dimmed);
            }
        }
        data = result;
    }

private:
    SettingsDim m_settings;
};

} // namespace

SP<Proc::IOneInputEffectVideo> CreateDim(SP<Proc::IEffectFactory const> const& /*effects*/,
                                         SP<Proc::IFactoryDataVideo const> const& /*frames*/) {
    return Tarsel::MakeSP<Dim>();
}
