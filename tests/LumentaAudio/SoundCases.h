#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Settings.h"
#include "Support/SoundStream.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

/// One table of the audio effects; every row goes through the tests of the wrapper.
namespace Tarsel::Test {

inline Conf::SampleInfo const s_stereo = Conf::SampleInfo::Init(Conf::SampleFormats::Float, 44100, {3, 2});

struct SoundCase {
    /// The settings class.
    std::string name;
    Proc::AudioEffectCreator create;
    std::shared_ptr<Proc::Settings const> settings;
    /// What the settings become for s_stereo.
    std::string text;
    /// Samples at 44100 Hz that come after the sound's end.
    int tail = 0;

    /// The effect with its settings.
    SP<Proc::IOneInputEffectAudio> Make() const;
    friend std::ostream& operator<<(std::ostream& stream, SoundCase const& row) { return stream << row.name; }
};

/// One row for each class, with settings that do something.
std::vector<SoundCase> const& GetSoundCases();
/// That of a class: "NoiseGate".
SoundCase const& GetSoundCase(std::string const& className);

} // namespace Tarsel::Test
