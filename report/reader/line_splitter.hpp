#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace report
{

/// Cuts bytes into lines, however they arrive. A line longer than `longest` is shortened to its first
/// and last `kept_end` bytes, so that memory stays bounded. Any "\r" at a line's end counts for its
/// length and is removed after that.
class LineSplitter
{
  public:
    static constexpr std::size_t longest = 65536;
    static constexpr std::size_t kept_end = longest / 2;

    /// Calls `take(std::string_view line, std::uint64_t bytes)` for each line that `chunk` completes:
    /// the line without its end ("\n", and any number of "\r" before it), and the bytes that it took.
    template <typename Take>
    void feed(std::string_view chunk, Take&& take)
    {
        while (!chunk.empty())
        {
            const auto* end =
                static_cast<const char*>(std::memchr(chunk.data(), '\n', chunk.size()));
            if (end == nullptr)
            {
                hold(chunk);
                return;
            }
            const std::string_view line{chunk.data(), static_cast<std::size_t>(end - chunk.data())};
            if (held_bytes == 0 && line.size() <= longest)
            {
                take(without_carriage_returns(line), std::uint64_t{line.size() + 1});
            }
            else
            {
                hold(line);
                release(1, take);
            }
            chunk.remove_prefix(line.size() + 1);
        }
    }

    /// The last line, if it has no end.
    template <typename Take>
    void finish(Take&& take)
    {
        if (held_bytes != 0)
        {
            release(0, take);
        }
    }

  private:
    static std::string_view without_carriage_returns(std::string_view line)
    {
        while (line.ends_with('\r'))
        {
            line.remove_suffix(1);
        }
        return line;
    }

    /// Appends to the line that is not complete yet.
    void hold(std::string_view part)
    {
        held_bytes += part.size();
        held.append(part);
        // Not at each part: small ones would move the last bytes again and again.
        if (held.size() > 2 * longest)
        {
            shorten();
        }
    }

    /// Removes what is neither among the first nor among the last bytes.
    void shorten()
    {
        if (held.size() > longest)
        {
            held.erase(kept_end, held.size() - longest);
        }
    }

    template <typename Take>
    void release(std::uint64_t end_bytes, Take& take)
    {
        shorten();
        const auto bytes = held_bytes + end_bytes;
        held_bytes = 0;
        take(without_carriage_returns(held), bytes);
        held.clear();
    }

    std::string held; ///< The line, or its first `kept_end` bytes and at least as many of its last.
    std::uint64_t held_bytes = 0; ///< Its bytes, with the removed ones.
};

} // namespace report
