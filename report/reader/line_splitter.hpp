#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace report
{

/// Cuts bytes into lines, however they arrive. A line longer than `longest` is shortened to its first
/// and last `kept_end` bytes, so that memory stays bounded.
class LineSplitter
{
  public:
    static constexpr std::size_t longest = 65536;
    static constexpr std::size_t kept_end = longest / 2;

    /// Calls `take(std::string_view line, std::uint64_t bytes)` for each line that `chunk` completes:
    /// the line without its end ("\n", or any number of "\r" before it), and the bytes that it took.
    template <typename Take>
    void feed(std::string_view chunk, Take&& take);

    /// The last line, if it has no end.
    template <typename Take>
    void finish(Take&& take);
};

} // namespace report
