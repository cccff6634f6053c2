#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>

/// Prints `data` in hexadecimal, a flush a line: two blanks, the offset from the start of `data` in
/// at least 4 digits, ": ", then each byte as 2 digits and a blank. A line with an offset starts where
/// `first_position` + offset is a multiple of 16; bytes before the first such place have no offset.
void print_hex_dump(std::ostream& out, std::span<const std::uint8_t> data,
                    std::size_t first_position = 0);
