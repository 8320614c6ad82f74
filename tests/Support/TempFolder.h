#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

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

    /// Names of what lies in it, sorted.
    std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(m_path))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path m_path;
};

inline void WriteFile(std::filesystem::path const& path, std::string const& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadFile(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace Tarsel::Test
