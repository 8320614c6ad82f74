#pragma once

#include "Conf/PixFmt.h"

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

struct AVFrame;

namespace Tarsel::Test {

/// A filter with settings drawn at random, and the kernel that does the same.
struct KernelTrial {
    std::string filter;
    Conf::PixFmt result;
    /// Of a frame of the size and format that the trial was drawn for into one of the same size.
    std::function<void(AVFrame const& from, AVFrame& to)> run;
};

struct KernelCase {
    char const* name;
    /// Nothing where the kernel does not cover the frame of this format, width and height.
    std::optional<KernelTrial> (*draw)(std::mt19937& random, Conf::PixFmt format, int width, int height);
};

std::vector<KernelCase> KernelCases();

} // namespace Tarsel::Test
