#include "Host/Watch/DataDigest.h"

#include "Conf/PixFmtDescription.h"
#include "Host/EffectRules.h"
#include "Proc/Data/WrapMemory.h"

#include <boost/container_hash/hash.hpp>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <string_view>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Host {
namespace {

void Add(std::size_t& hash, std::uint8_t const* data, std::size_t size) {
    boost::hash_combine(hash, std::hash<std::string_view>()({reinterpret_cast<char const*>(data), size}));
}

/// The rows of each plane, with the padding between them or without, and a palette.
void AddContent(std::size_t& hash, Proc::IDataVideo const& frame, bool withPadding) {
    int const planes = Conf::PixFmtDescription::Find(frame.GetPixelFormat()).GetPlaneCount();
    for (int i = 0; i < planes; ++i) {
        Proc::ReadOnlyPlane const plane = frame.GetReadOnlyPlane(i);
        auto const last = plane.lineSize * (static_cast<std::ptrdiff_t>(plane.rows) - 1);
        if (withPadding)
            Add(hash, plane.data + std::min<std::ptrdiff_t>(last, 0),
                static_cast<std::size_t>(std::abs(last)) + plane.rowBytes);
        else
            for (std::ptrdiff_t row = 0; row < static_cast<std::ptrdiff_t>(plane.rows); ++row)
                Add(hash, plane.data + row * plane.lineSize, plane.rowBytes);
    }
    constexpr std::size_t paletteBytes = 1024;
    if (frame.GetPixelFormat() == Conf::PixFmt::PAL8)
        Add(hash, frame.GetAVFrame()->data[1], paletteBytes);
}

void AddContent(std::size_t& hash, Proc::IDataAudio const& block, bool) {
    for (int i = 0; i < Proc::GetSamplePlaneCount(block); ++i) {
        auto const samples = Proc::GetReadOnlySamples(block, i);
        Add(hash, samples.data(), samples.size());
    }
}

template <class Data>
std::uint64_t GetDigestOf(Data const& data, bool isWhole) {
    if (!FindFault(data).empty())
        return 0;
    std::size_t hash = std::hash<std::string>()(GetFormText(data));
    if (isWhole) {
        boost::hash_combine(hash, data.GetTime());
        boost::hash_combine(hash, data.GetDuration());
    }
    AddContent(hash, data, isWhole);
    return hash;
}

} // namespace

std::uint64_t GetDigest(Proc::IDataVideo const& frame) {
    return GetDigestOf(frame, true);
}

std::uint64_t GetDigest(Proc::IDataAudio const& block) {
    return GetDigestOf(block, true);
}

std::uint64_t GetContentDigest(Proc::IDataVideo const& frame) {
    return GetDigestOf(frame, false);
}

std::uint64_t GetContentDigest(Proc::IDataAudio const& block) {
    return GetDigestOf(block, false);
}

bool SharesMemory(AVFrame& result, AVFrame const& input) {
    if (av_frame_is_writable(&result) <= 0) // whoever writes to it gets a copy
        return false;
    auto const isPartOfInput = [&](std::uint8_t const* plane) {
        auto const isIn = [&](AVBufferRef const* buffer) {
            return buffer != nullptr && plane >= buffer->data && plane < buffer->data + buffer->size;
        };
        return plane != nullptr && (std::ranges::find(input.data, plane) != std::end(input.data) ||
                                    std::ranges::any_of(input.buf, isIn));
    };
    return std::ranges::any_of(result.data, isPartOfInput);
}

} // namespace Tarsel::Host
