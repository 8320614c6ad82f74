#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace Tarsel::Test {

/// A folder of its own for one test, removed with all that is in it.
class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tarsel-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), pattern);
        m_path = pattern;
    }
    TempFolder(TempFolder const&) = delete;
    TempFolder& operator=(TempFolder const&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::filesystem::path const& GetPath() const noexcept { return m_path; }
    std::filesystem::path operator/(std::filesystem::path const& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

} // namespace Tarsel::Test
