#include "Tools/Tarsel/Console/StandardStreams.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace Tarsel::Tools {

void PrepareStandardStreams() noexcept {
    for (int const descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // Opened the wrong way round: using it fails, as with the closed descriptor. The lowest free number
        // is taken, which is this one.
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
}

void WriteOutput(std::string_view text) {
    int const error = Core::WriteAll(STDOUT_FILENO, text);
    if (error != 0 && error != EPIPE)
        Core::Throw<Media::OutputException>("Cannot write to standard output: " +
                                            std::generic_category().message(error));
}

} // namespace Tarsel::Tools
