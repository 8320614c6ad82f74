#include "Media/Container/InputPipe.h"
#include "Media/Input.h"
#include "RunFixture.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavformat/avio.h>
}

namespace Tarsel::Test {
namespace {

constexpr std::int64_t s_bytes = 96'000'000;

unsigned char ByteAt(std::int64_t position) {
    return static_cast<unsigned char>(position * 2654435761U >> 13);
}

/// What the process's files without a name take of the disk.
std::int64_t MeasureNameless() {
    std::int64_t all = 0;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        struct stat found {};
        std::error_code error;
        std::string const target = std::filesystem::read_symlink(entry.path(), error).string();
        if (target.ends_with("(deleted)") && stat(entry.path().c_str(), &found) == 0 &&
            S_ISREG(found.st_mode))
            all += std::int64_t{found.st_blocks} * 512;
    }
    return all;
}

/// Fills a FIFO from a thread of its own.
class Pipes : public RunFixture {
protected:
    Pipes() {
        (void)std::signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(mkfifo(File("pipe").c_str(), 0600), 0);
        m_writer = std::jthread([this] {
            int const pipe = open(File("pipe").c_str(), O_WRONLY);
            std::vector<unsigned char> block(1 << 16);
            for (std::int64_t done = 0; done < s_bytes;) {
                auto const count = std::min(block.size(), static_cast<std::size_t>(s_bytes - done));
                for (std::size_t i = 0; i < count; ++i)
                    block[i] = ByteAt(done + static_cast<std::int64_t>(i));
                ssize_t const written = write(pipe, block.data(), count);
                if (written <= 0)
                    break;
                done += written;
            }
            close(pipe);
        });
    }

    /// Reads to the end in blocks of the size; how many bytes were as they should be before one was not.
    static std::int64_t ReadAll(AVIOContext* io, int size, std::int64_t limit = INT64_MAX) {
        std::vector<unsigned char> block(static_cast<std::size_t>(size));
        std::int64_t position = 0;
        while (position < limit) {
            int const count = avio_read(io, block.data(), size);
            if (count <= 0)
                break;
            for (int i = 0; i < count; ++i)
                if (block[static_cast<std::size_t>(i)] != ByteAt(position++))
                    return position - 1;
        }
        return position;
    }

    std::jthread m_writer;
};

TEST_F(Pipes, EveryReaderGetsAllOfIt) {
    auto const pipe = std::make_shared<Media::InputPipe>(File("pipe"), false);
    pipe->Open();
    Media::PipeReader first(pipe, {});
    Media::PipeReader second(pipe, {});
    pipe->ForgetRead();
    std::int64_t of[2] = {};
    {
        std::jthread const one([&] { of[0] = ReadAll(first.GetIO(), 3000); });
        std::jthread const other([&] { of[1] = ReadAll(second.GetIO(), 70001); });
    }
    EXPECT_EQ(of[0], s_bytes);
    EXPECT_EQ(of[1], s_bytes);
}

TEST_F(Pipes, DiskHoldsOnlyWhatIsStillWanted) {
    auto const pipe = std::make_shared<Media::InputPipe>(File("pipe"), false);
    pipe->Open();
    Media::PipeReader ahead(pipe, {});
    auto behind = std::make_unique<Media::PipeReader>(pipe, std::stop_token());
    constexpr std::int64_t part = s_bytes / 3;
    EXPECT_GE(ReadAll(ahead.GetIO(), 65536, part), part);
    EXPECT_GE(MeasureNameless(), part); // the other one wants it
    pipe->ForgetRead();
    EXPECT_GE(ReadAll(behind->GetIO(), 65536, part), part);
    behind.reset();
    std::vector<unsigned char> block(65536);
    for (int i = 0; i < 100; ++i)
        EXPECT_GT(avio_read(ahead.GetIO(), block.data(), 65536), 0);
    EXPECT_LT(MeasureNameless(), part / 2); // nobody does
}

TEST_F(Pipes, WholePipesAreFiles) {
    auto const pipe = std::make_shared<Media::InputPipe>(File("pipe"), true);
    pipe->Open();
    EXPECT_EQ(pipe->FetchAll({}), 0);
    Media::PipeReader reader(pipe, {});
    EXPECT_EQ(avio_size(reader.GetIO()), s_bytes);
    for (std::int64_t const position : {s_bytes - 1, std::int64_t{0}, s_bytes / 2}) {
        EXPECT_EQ(avio_seek(reader.GetIO(), position, SEEK_SET), position);
        EXPECT_EQ(avio_r8(reader.GetIO()), ByteAt(position));
    }
}

} // namespace
} // namespace Tarsel::Test
