#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// A folder of a test's own, removed with all that it holds.
class TemporaryFolder
{
  public:
    TemporaryFolder()
    {
        auto name = (std::filesystem::temp_directory_path() / "unit-XXXXXX").string();
        folder = mkdtemp(name.data());
    }
    ~TemporaryFolder()
    {
        std::filesystem::remove_all(folder);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const
    {
        return folder;
    }

    /// Writes a file, and the folders that it needs; returns its path.
    std::string write(const std::string& name, const std::string& content) const
    {
        const auto file = std::filesystem::path(folder) / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }

    /// What a file in it holds.
    std::string read(const std::string& name) const
    {
        std::ifstream file(std::filesystem::path(folder) / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The names in it, in order.
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
        {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

  private:
    std::string folder;
};
