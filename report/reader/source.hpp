#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace report
{

/// A transcript's bytes, decompressed.
class ByteSource
{
  public:
    virtual ~ByteSource() = default;

    /// Fills the beginning of `buffer`; 0 at the end. Raises `InputError`.
    virtual std::size_t read(std::span<char> buffer) = 0;
};

/// Opens a file, or standard input for "-". gzip and zstd are known by their first bytes.
/// Raises `InputError`.
std::unique_ptr<ByteSource> open_source(const std::string& path);

} // namespace report
