#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Core/Api.h"

#include <cstdint>

struct AVFrame;
struct SwsContext;

namespace Tarsel::Proc {

/// One side of a scaling.
struct SwsCtxSide {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;
};

/// How to scale. Colour matrix and range of either side come from its colour space; an unspecified matrix
/// counts as BT.601, an unspecified range as full for RGB and the "j" formats, else limited.
struct SwsCtxParams {
    SwsCtxSide from;
    SwsCtxSide to;
    /// SWS_* flags of libswscale; bicubic, accurately rounded, full chroma.
    int flags = 0x4 | 0x40000 | 0x2000 | 0x4000;
};

/// Owns a libswscale context. Moves, does not copy. Not synchronised.
class TARSEL_API SafeSwsContext {
public:
    /// Empty: may not scale.
    SafeSwsContext() noexcept = default;
    /// EffectException naming both sides when libswscale refuses them.
    explicit SafeSwsContext(SwsCtxParams const& params);
    SafeSwsContext(SafeSwsContext&& other) noexcept : m_context(other.m_context) {
        other.m_context = nullptr;
    }
    SafeSwsContext& operator=(SafeSwsContext&& other) noexcept;
    ~SafeSwsContext();

    explicit operator bool() const noexcept { return m_context != nullptr; }
    /// Scales all rows of `from` into `to`, whose buffers exist; sizes and formats are those of the
    /// parameters.
    void Scale(AVFrame const& from, AVFrame& to) const;

private:
    SwsContext* m_context = nullptr;
};

} // namespace Tarsel::Proc
