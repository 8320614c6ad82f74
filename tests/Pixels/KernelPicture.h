#pragma once

#include "Conf/PixFmtDescription.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Planes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

namespace Tarsel::Test {

/// A picture whose planes begin and end with their first and last pixel in memory, with any stride.
class KernelPicture {
public:
    using Bytes = std::vector<std::uint8_t>;

    template <class Random>
    KernelPicture(Conf::PixFmt format, int width, int height, Random& random) {
        auto const& pixels = Conf::PixFmtDescription::Find(format);
        m_frame->format = static_cast<int>(format);
        m_frame->width = width;
        m_frame->height = height;
        for (int i = 0; i < pixels.GetPlaneCount(); ++i) {
            auto const bytes =
                static_cast<std::size_t>(av_image_get_linesize(static_cast<AVPixelFormat>(format), width, i));
            std::size_t const rows = pixels.GetPlanHeight(i, static_cast<std::uint32_t>(height));
            std::size_t const stride = bytes + 2 * (random() % 40);
            Bytes& plane = m_planes.emplace_back(stride * (rows - 1) + bytes);
            bool const isBottomUp = random() % 3 == 0;
            m_frame->data[i] = plane.data() + (isBottomUp ? stride * (rows - 1) : 0);
            m_frame->linesize[i] = static_cast<int>(stride) * (isBottomUp ? -1 : 1);
        }
    }

    AVFrame& Get() { return *m_frame; }
    std::vector<Bytes>& Planes() { return m_planes; }

    /// Samples of one of several kinds: noise, shades with a little of it, and large areas.
    template <class Random>
    void Paint(Random& random) {
        auto const& pixels = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(m_frame->format));
        bool const isDeep = pixels.GetDepth() > 8;
        unsigned const highest = (1U << pixels.GetDepth()) - 1;
        unsigned const kind = random() % 4;
        double const slope = static_cast<double>(random() % 100) / 200;
        for (Bytes& plane : m_planes) {
            std::size_t const samples = plane.size() / (isDeep ? 2 : 1);
            for (std::size_t i = 0; i < samples; ++i) {
                auto const at = static_cast<double>(i);
                double sample = 0; // 0 to 1
                if (kind == 0)
                    sample = static_cast<double>(random() & 0xFFFF) / 0xFFFF;
                else if (kind == 1)
                    sample = 0.5 + 0.4 * std::sin(at * slope / 9) + static_cast<double>(random() % 64) / 640;
                else if (kind == 2)
                    sample = std::sin(at * slope) > 0.2 ? 0.9 : 0.1;
                else
                    sample = static_cast<double>(random() % 3) / 2;
                Set(plane, i, isDeep, static_cast<unsigned>(std::clamp(sample, 0.0, 1.0) * highest));
            }
        }
    }

    /// The memory as it is with these rows in it.
    std::vector<Bytes> With(AVFrame const& rows) const {
        std::vector<Bytes> expected = m_planes;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            auto const plane = static_cast<int>(i);
            Bytes const pixels = PlaneBytes(rows, plane);
            int const height =
                static_cast<int>(Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(rows.format))
                                     .GetPlanHeight(plane, static_cast<std::uint32_t>(rows.height)));
            std::size_t const bytes = pixels.size() / static_cast<std::size_t>(height);
            for (int y = 0; y < height; ++y)
                std::memcpy(expected[i].data() + (m_frame->data[plane] - m_planes[i].data()) +
                                y * m_frame->linesize[plane],
                            pixels.data() + static_cast<std::size_t>(y) * bytes, bytes);
        }
        return expected;
    }

private:
    static void Set(Bytes& plane, std::size_t i, bool isDeep, unsigned sample) {
        if (isDeep)
            plane[2 * i + 1] = static_cast<std::uint8_t>(sample >> 8);
        plane[isDeep ? 2 * i : i] = static_cast<std::uint8_t>(sample);
    }

    Proc::SafeFrame m_frame;
    std::vector<Bytes> m_planes;
};

} // namespace Tarsel::Test
