#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace report
{

constexpr std::size_t longest_excerpt = 1000;

/// At most so many characters of `text`, as UTF-8 that XML 1.0 allows: what it forbids, and what is no
/// UTF-8, becomes U+FFFD. Of a longer text the end is "…".
std::string plain_text(std::string_view text, std::size_t longest = longest_excerpt);

} // namespace report
