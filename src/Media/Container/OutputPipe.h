#pragma once

#include "Media/Container/Output.h"

#include <cstdint>
#include <filesystem>
#include <stop_token>

namespace Tarsel::Media {

/// A pipe that somebody reads, or whatever standard output is. It is written from front to end, and never
/// waited for once a stop is asked for.
class OutputPipe final : public Output {
public:
    /// OutputException; Stopped.
    OutputPipe(std::filesystem::path path, std::stop_token stop);
    ~OutputPipe() override;

    std::filesystem::path const& GetPath() const noexcept override { return m_path; }
    AVIOContext* GetIO() const noexcept override { return m_io; }
    std::filesystem::path GetWrittenPath() const override { return {}; }
    std::int64_t GetByteCount() const noexcept override { return m_bytes; }
    void Close() override;
    /// It has appeared already; whoever reads learns that this was all.
    void Publish() override;

private:
    void Open();
    int Write(std::uint8_t const* bytes, int size);
    void End() noexcept;

    std::filesystem::path const m_path;
    std::stop_token m_stop;
    int m_pipe = -1;
    bool m_isOpened = false;
    AVIOContext* m_io = nullptr;
    std::int64_t m_bytes = 0;
};

} // namespace Tarsel::Media
