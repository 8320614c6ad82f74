#include "Host/ErrorReport.h"

#include "Core/CoreExceptions.h"
#include "Core/Exception.h"
#include "Host/FFmpegMessages.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"

#include <boost/core/demangle.hpp>
#include <boost/exception/get_error_info.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace Tarsel::Host {

namespace {

std::string DescribeType(std::exception const& exception) {
    std::string name = boost::core::demangle(typeid(exception).name());
    // boost::throw_exception throws a class of its own around the one that is meant.
    constexpr std::string_view wrapper = "boost::wrapexcept<";
    if (name.starts_with(wrapper))
        return name.substr(wrapper.size(), name.size() - wrapper.size() - 1);
    return name;
}

std::string DescribeFFmpegError(int error) {
    return fmt::format("{} ({})", Proc::GetFFmpegErrorText(error), error);
}

std::string DescribeSite(std::exception const& exception) {
    char const* const* const file = boost::get_error_info<boost::throw_file>(exception);
    if (file == nullptr)
        return {};
    std::string site = *file;
    if (int const* line = boost::get_error_info<boost::throw_line>(exception))
        site += fmt::format(":{}", *line);
    if (std::uint32_t const* column = boost::get_error_info<TagThrowColumn>(exception))
        site += fmt::format(":{}", *column);
    if (char const* const* function = boost::get_error_info<boost::throw_function>(exception))
        site += fmt::format(", {}", *function);
    return site;
}

/// Adds "\n  <name>: <text>"; lines of `text` after its first are set under the first.
void AppendFact(std::string& report, std::string_view name, std::string_view text) {
    report += fmt::format("\n  {}: ", name);
    for (char const letter : text) {
        report += letter;
        if (letter == '\n')
            report.append(4, ' ');
    }
}

template <class Tag>
void AppendTag(std::string& report, std::string_view name, std::exception const& exception) {
    if (auto const* value = boost::get_error_info<Tag>(exception))
        AppendFact(report, name, fmt::format("{}", *value));
}

std::vector<std::string> GetFFmpegMessages(std::exception const& exception) {
    auto const* const carrier = dynamic_cast<boost::exception const*>(&exception);
    if (carrier == nullptr)
        return FFmpegMessages::Take();
    FFmpegMessages::AddTo(*carrier);
    auto const* const lines = boost::get_error_info<TagFFmpegMessages>(*carrier);
    return lines != nullptr ? *lines : std::vector<std::string>();
}

} // namespace

std::string DescribeError(std::exception const& exception) {
    std::string report;
    if (std::string const* step = boost::get_error_info<TagStep>(exception))
        report = *step + ": ";
    if (std::string const* description = boost::get_error_info<TagDescription>(exception))
        report += *description;
    else if (dynamic_cast<Exception const*>(&exception) != nullptr)
        report += DescribeType(exception); // what() would only give the type's mangled name
    else if (dynamic_cast<std::bad_alloc const*>(&exception) != nullptr)
        report += "Out of memory";
    else
        report += exception.what();

    if (int const* error = boost::get_error_info<Proc::TagFFmpegError>(exception))
        AppendFact(report, "FFmpeg", DescribeFFmpegError(*error));
    AppendTag<Proc::TagFilterText>(report, "filter", exception);
    AppendTag<Proc::TagDetail>(report, "detail", exception);
    std::vector<std::string> lines = GetFFmpegMessages(exception); // who tries twice logs twice
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    for (std::string const& line : lines)
        AppendFact(report, "log", line);
    return report;
}

std::string DescribeErrorFully(std::exception const& exception) {
    std::string report = DescribeError(exception);
    AppendFact(report, "exception", DescribeType(exception));
    if (auto const* code = boost::get_error_info<Proc::TagTranscodingErrorCode>(exception))
        AppendFact(report, "code", fmt::format("{}", static_cast<std::int32_t>(*code)));
    AppendTag<Core::MemoryException::TagBlockSize>(report, "block size", exception);
    AppendTag<Core::PropertyException::TagMethodName>(report, "method", exception);
    AppendTag<Core::PropertyException::TagPropertyName>(report, "property", exception);
    if (auto const* type = boost::get_error_info<Core::PropertyException::TagPropertyType>(exception))
        AppendFact(report, "property type", Core::GetName(*type));
    if (std::string const site = DescribeSite(exception); !site.empty())
        AppendFact(report, "thrown at", site);
    if (Core::CallStack const* stack = boost::get_error_info<TagCallStack>(exception))
        for (std::string const& function : stack->GetFunctionNames())
            AppendFact(report, "in", function);
    return report;
}

} // namespace Tarsel::Host
