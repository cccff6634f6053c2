#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace report
{

/// Keeps copies of texts and bytes in a few large blocks. The views stay valid as long as the store.
class TextStore
{
  public:
    /// A copy of `text`.
    std::string_view keep(std::string_view text)
    {
        if (text.empty())
        {
            return {};
        }
        if (text.size() > left)
        {
            const auto size = text.size() > block_size / 4 ? text.size() : block_size;
            blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
            if (size != block_size)
            {
                std::memcpy(blocks.back().get(), text.data(), text.size());
                return {blocks.back().get(), text.size()};
            }
            next = blocks.back().get();
            left = size;
        }
        std::memcpy(next, text.data(), text.size());
        const std::string_view kept{next, text.size()};
        next += text.size();
        left -= text.size();
        return kept;
    }

  private:
    static constexpr std::size_t block_size = 65536;

    std::vector<std::unique_ptr<char[]>> blocks;
    char* next = nullptr;
    std::size_t left = 0;
};

} // namespace report
