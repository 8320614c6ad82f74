#include "Tools/Tarsel/Console/FailureText.h"

#include "Host/ErrorReport.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Console/ExitCodes.h"

#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>

namespace Tarsel::Tools {

std::string DescribeFailure(std::exception const& failure, bool verbose) {
    std::string text;
    if (std::string const* option = boost::get_error_info<Media::TagMissingOption>(failure))
        text += fmt::format("Add --{}: ", *option);
    if (std::string const* option = boost::get_error_info<Media::TagSurplusOption>(failure))
        text += fmt::format("Remove --{}: ", *option);
    if (verbose)
        text += Host::DescribeErrorFully(failure);
    else if (GetExitCode(failure) == ExitCode::Interrupted)
        text += failure.what(); // what was logged until then is not about it
    else
        text += Host::DescribeError(failure);
    return text;
}

} // namespace Tarsel::Tools
