#include "Tools/Tarsel/ExitCodes.h"

#include "Core/CoreExceptions.h"
#include "Host/Plugin.h"
#include "Media/MediaExceptions.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Tools/Tarsel/UsageException.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace Tarsel::Tools {
namespace {

TEST(ExitCodes, FollowTheKindOfFailure) {
    EXPECT_EQ(GetExitCode(UsageException()), ExitCode::BadArguments);
    EXPECT_EQ(GetExitCode(Media::OptionsException()), ExitCode::BadArguments);
    EXPECT_EQ(GetExitCode(Proc::SettingsException()), ExitCode::BadArguments);
    EXPECT_EQ(GetExitCode(Host::PluginException()), ExitCode::BadArguments);
    EXPECT_EQ(GetExitCode(Media::InputException()), ExitCode::InputUnreadable);
    EXPECT_EQ(GetExitCode(Media::OutputException()), ExitCode::OutputFailed);
    EXPECT_EQ(GetExitCode(Media::InterruptedException()), ExitCode::Interrupted);
    EXPECT_EQ(GetExitCode(Proc::EffectException()), ExitCode::EffectFailed);
    EXPECT_EQ(GetExitCode(Core::MemoryException()), ExitCode::EffectFailed);
    EXPECT_EQ(GetExitCode(std::logic_error("")), ExitCode::EffectFailed);
    EXPECT_EQ(GetExitCode(std::bad_alloc()), ExitCode::EffectFailed);
}

} // namespace
} // namespace Tarsel::Tools
