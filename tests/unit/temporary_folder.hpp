#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

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

  private:
    std::string folder;
};
