#pragma once

#include <climits>
#include <cstddef>

extern "C" {
#include <libavutil/mem.h>
}

namespace Tarsel::Test {

/// Every allocation of FFmpeg above `bytes` fails while it lives.
struct AllocationLimit {
    explicit AllocationLimit(std::size_t bytes) { av_max_alloc(bytes); }
    AllocationLimit(AllocationLimit const&) = delete;
    AllocationLimit& operator=(AllocationLimit const&) = delete;
    ~AllocationLimit() { av_max_alloc(INT_MAX); }
};

} // namespace Tarsel::Test
