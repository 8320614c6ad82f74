#include "Support/Failure.h"

#include "Host/EffectChain.h"

namespace Tarsel::Test {
namespace {

template <class Tag>
auto Get(boost::exception const& exception) {
    auto const* value = boost::get_error_info<Tag>(exception);
    return value ? std::optional(*value) : std::nullopt;
}

} // namespace

Failure Describe(boost::exception const& exception) {
    Failure failure;
    failure.text = Get<TagDescription>(exception).value_or("");
    failure.file = Get<boost::throw_file>(exception).value_or("");
    failure.function = Get<boost::throw_function>(exception).value_or("");
    failure.hasStack = Get<TagCallStack>(exception).has_value();
    failure.ffmpegError = Get<Proc::TagFFmpegError>(exception);
    if (auto const code = Get<Proc::TagTranscodingErrorCode>(exception))
        failure.code = static_cast<int>(*code);
    failure.filter = Get<Proc::TagFilterText>(exception).value_or("");
    failure.detail = Get<Proc::TagDetail>(exception).value_or("");
    failure.step = Get<Host::TagStep>(exception).value_or("");
    return failure;
}

} // namespace Tarsel::Test
