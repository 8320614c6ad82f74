#include "Tools/Tarsel/Parts/FileIdentity.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

extern "C" {
#include <libavutil/hash.h>
}

namespace Tarsel::Tools {
namespace {

constexpr std::uintmax_t s_sampleBytes = 1U << 16U;
constexpr std::uintmax_t s_samples = 64;

struct FreeHash {
    void operator()(AVHashContext* hash) const noexcept { av_hash_freep(&hash); }
};

} // namespace

FileIdentity ReadIdentity(std::filesystem::path const& path) {
    std::error_code error;
    FileIdentity identity;
    auto const fail = [&](std::string const& reason) {
        Core::Throw<Media::InputException>(fmt::format("Cannot read \"{}\": {}", path.string(), reason));
    };
    identity.bytes = std::filesystem::file_size(path, error);
    if (error)
        fail(error.message());
    AVHashContext* made = nullptr;
    if (av_hash_alloc(&made, "SHA256") < 0)
        throw std::bad_alloc();
    std::unique_ptr<AVHashContext, FreeHash> const hash(made);
    av_hash_init(made);
    std::ifstream file(path, std::ios::binary);
    std::vector<char> sample(s_sampleBytes);
    std::uintmax_t const count =
        std::min(s_samples, (identity.bytes + s_sampleBytes - 1) / s_sampleBytes); // they touch, or less
    for (std::uintmax_t i = 0; i < count; ++i) {
        std::uintmax_t const last = identity.bytes - std::min(identity.bytes, s_sampleBytes);
        std::uintmax_t const at =
            count > 1 ? last / (count - 1) * i + last % (count - 1) * i / (count - 1) : 0;
        auto const size = std::min(s_sampleBytes, identity.bytes - at);
        if (!file.seekg(static_cast<std::streamoff>(at)) ||
            !file.read(sample.data(), static_cast<std::streamsize>(size)))
            fail("it became shorter, or is no regular file");
        av_hash_update(made, reinterpret_cast<std::uint8_t const*>(sample.data()), size);
    }
    std::vector<std::uint8_t> text(2 * AV_HASH_MAX_SIZE + 1);
    av_hash_final_hex(made, text.data(), static_cast<int>(text.size()));
    identity.samples = reinterpret_cast<char const*>(text.data());
    return identity;
}

} // namespace Tarsel::Tools
