#pragma once

#include "Core/Progress.h"
#include "Proc/Effects/Lumenta/Api.h"
#include "Proc/Interfaces/IAudioGenerator.h"
#include "Proc/Interfaces/IEffectRegistrar.h"

/// What a host looks up by name in this library.
extern "C" {

/// Hands every effect of this library to the registrar, under its settings class's id and
/// ImplNames::FFMPEG, always in the same order, and returns what the last registration returned. May be
/// called more than once; exceptions of the registrar pass, and what was registered before stays so.
LUMENTA_API bool Registrator(Tarsel::Proc::IEffectRegistrar& registrar);

/// See Proc::AudioGeneratorCreator.
LUMENTA_API void CreateAudioGenerator(Tarsel::SP<Tarsel::Proc::IAudioGenerator>& generator,
                                      std::string const& description, Tarsel::Conf::SampleInfo const& info);

/// ProgressControllerStages::InitStage.
LUMENTA_API bool MediatorInitStage(Tarsel::Core::ProgressControllerStages& stages, int stage,
                                   char const* name);

/// ProgressControllerStages::IncProgress, but 1 when the work is asked to stop, else 0.
LUMENTA_API int MediatorInc(Tarsel::Core::ProgressControllerStages& stages);
}
