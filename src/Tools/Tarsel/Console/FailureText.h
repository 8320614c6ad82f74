#pragma once

#include <exception>
#include <string>

namespace Tarsel::Tools {

/// A failure for people: the cure first where it is an option, then as Host::DescribeError; `verbose`: as
/// Host::DescribeErrorFully. std::bad_alloc. On the thread that the failure reached.
std::string DescribeFailure(std::exception const& failure, bool verbose);

} // namespace Tarsel::Tools
