#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace report
{

/// Keeps texts on disk that are too many for memory. The file has no name and ends with the program.
/// All members but the destructor raise `OutputError`.
class Spool
{
  public:
    struct Place
    {
        std::uint64_t offset = 0;
        std::size_t size = 0;
    };

    explicit Spool(const std::string& folder);
    ~Spool();
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    Place append(std::string_view text);
    std::string read(Place place) const;

  private:
    [[noreturn]] void fail(int error) const;

    std::string folder;
    int descriptor = -1;
    std::uint64_t end = 0;
};

} // namespace report
