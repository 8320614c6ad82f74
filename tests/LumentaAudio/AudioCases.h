#pragma once

#include "Conf/SampleInfo.h"
#include "Proc/Settings/Settings.h"
#include "Support/AudioStream.h"

#include <ostream>
#include <string>
#include <vector>

/// One table of the audio effects; every row goes through the tests of the wrapper.
namespace Tarsel::Test {

inline Conf::SampleInfo const s_stereo = Conf::SampleInfo::Init(Conf::SampleFormats::Float, 44100, {3, 2});

/// An effect of this library by its class id, with default settings.
SP<Proc::IOneInputEffectAudio> MakeEffect(std::string const& classId);
/// With settings given as "key=value:...".
SP<Proc::IOneInputEffectAudio> MakeEffect(std::string const& classId, std::string const& options);

/// What the effect says that it does with audio of that form.
std::string Explain(Proc::IOneInputEffectAudio const& effect, Conf::SampleInfo const& info = s_stereo);

struct AudioCase {
    /// The settings class.
    std::string name;
    std::string classId;
    /// The settings, as text.
    std::string options;
    /// What they become for s_stereo.
    std::string text;
    /// Samples at 44100 Hz that come after the audio's end.
    int tail = 0;

    SP<Proc::IOneInputEffectAudio> Make() const { return MakeEffect(classId, options); }
    friend std::ostream& operator<<(std::ostream& stream, AudioCase const& row) { return stream << row.name; }
};

/// One row for each class, with settings that do something.
std::vector<AudioCase> const& GetAudioCases();
/// That of a class.
AudioCase const& GetAudioCase(std::string const& classId);

} // namespace Tarsel::Test
