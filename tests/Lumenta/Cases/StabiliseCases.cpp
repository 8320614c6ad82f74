#include "Cases/Families.h"

#include "Proc/Effects/Lumenta/Video/Stabilise.h"
#include "Support/TempFolder.h"

#include <fstream>

namespace Tarsel::Test {
namespace {

/// Files between the passes; they live as long as the table.
class StatisticsFiles {
public:
    StatisticsFiles() {
        std::ofstream known(GetKnown());
        known << "VID.STAB 1\n";
        for (int frame = 1; frame <= 8; ++frame)
            known << "Frame " << frame << " (List 0 [])\n";
    }
    std::string GetWritten() const { return m_folder / "written.trf"; }
    /// Of a camera that stood still.
    std::string GetKnown() const { return m_folder / "known.trf"; }

private:
    TempFolder m_folder;
};

EffectCase Deshake(std::int32_t blockSize, bool enabled, std::string const& text) {
    Proc::SettingsEffectDeshake settings;
    settings.blockSize = blockSize;
    settings.enabled = enabled;
    return {"SettingsEffectDeshake",
            Proc::CreateEffectDeshake,
            MakeSettings<Proc::SettingsEffectDeshake>(settings),
            text,
            true,
            !enabled};
}

EffectCase Stabilizer(Proc::SettingsEffectStabilizer const& settings, std::string const& text) {
    return {"SettingsEffectStabilizer",
            Proc::CreateEffectStabilizer,
            MakeSettings<Proc::SettingsEffectStabilizer>(settings),
            text,
            true,
            !settings.enabled};
}

} // namespace

std::vector<EffectCase> GetStabiliseCases() {
    static StatisticsFiles const files;
    Proc::SettingsEffectStabilizer detection;
    detection.enabled = true;
    detection.statisticsPath = files.GetWritten();
    Proc::SettingsEffectStabilizer transform = detection;
    transform.detectionPass = false;
    transform.statisticsPath = files.GetKnown();
    Proc::SettingsEffectStabilizer disabled = transform;
    disabled.enabled = false;
    std::string const transformText = "vidstabtransform=smoothing=15:optalgo=gauss:crop=keep:zoom=0:"
                                      "optzoom=1:interpol=bilinear:input=" +
                                      files.GetKnown();
    return {
        Deshake(8, false, "deshake=rx=64:ry=64:blocksize=8"),
        Deshake(8, true, "deshake=rx=64:ry=64:blocksize=8"),
        Deshake(16, true, "deshake=rx=64:ry=64:blocksize=16"),
        Stabilizer(detection,
                   "vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast=0.250000:result=" +
                       files.GetWritten()),
        Stabilizer(transform, transformText),
        Stabilizer(disabled, transformText),
    };
}

} // namespace Tarsel::Test
