#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Core/Api.h"

#include <cstdint>
#include <memory>

struct AVFrame;
struct SwsContext;

namespace Tarsel::Proc {

/// One side of a scaling.
struct SwsCtxSide {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Conf::PixFmt format = Conf::PixFmt::None;
    Conf::ColorSpace space;

    friend bool operator==(SwsCtxSide const&, SwsCtxSide const&) = default;
};

/// The frame as one side of a scaling. Any thread.
TARSEL_API SwsCtxSide SideOf(AVFrame const& frame) noexcept;

/// How to scale. Color matrix and range of either side come from its color space; an unspecified matrix
/// counts as BT.601, and so do one that libswscale does not know and that of RGB for YUV; the range is as
/// PixFmtDescription::IsFullRange says. Gray to gray of the same format and size is copied, whatever the
/// ranges.
struct SwsCtxParams {
    SwsCtxSide from;
    SwsCtxSide to;
    /// SWS_* flags of libswscale; bicubic, accurately rounded, full chroma.
    int flags = 0x4 | 0x40000 | 0x2000 | 0x4000;

    friend bool operator==(SwsCtxParams const&, SwsCtxParams const&) = default;
};

/// Owns a libswscale context. Moves, does not copy. Not synchronized.
class TARSEL_API SafeSwsContext {
public:
    /// Empty: may not scale.
    SafeSwsContext() noexcept = default;
    /// EffectException naming both sides when libswscale refuses them; MemoryException.
    explicit SafeSwsContext(SwsCtxParams const& params);

    explicit operator bool() const noexcept { return m_context != nullptr; }
    /// Scales all rows of `from` into `to`, whose buffers exist and belong to nobody else. Either may be
    /// stored bottom up. EffectException on an empty object, and for sizes or formats that are not those of
    /// the parameters.
    void Scale(AVFrame const& from, AVFrame& to) const;

private:
    struct TARSEL_API FreeContext {
        void operator()(SwsContext* context) const noexcept;
    };
    using Context = std::unique_ptr<SwsContext, FreeContext>;

    static Context MakeContext(SwsCtxParams const& params);

    SwsCtxParams m_params;
    Context m_context;
    /// The second half of a conversion that libswscale cannot do right at once.
    std::unique_ptr<SafeSwsContext> m_rest;
};

} // namespace Tarsel::Proc
