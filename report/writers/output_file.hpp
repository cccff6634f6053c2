#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace report
{

/// An output that cannot be written; the text says which and why.
class OutputError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/// A file that is there whole or not at all: written under another name in its folder, renamed by
/// `finish`, removed if that is never called. "-" is standard output; that, pipes and devices are
/// written as the text comes. All members but the destructor raise `OutputError`. SIGPIPE must be
/// ignored.
class OutputFile
{
  public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void append(std::string_view text);

    /// Nothing is appended after it.
    void finish();

  private:
    void open_directly();
    void open_replacement();
    void write(std::string_view text);
    void close();
    [[noreturn]] void fail() const;

    std::string name;        ///< As the complaint shows it.
    std::string path;        ///< Empty for standard output.
    std::string replacement; ///< The name until `finish`; empty if written directly.
    std::string buffer;
    int descriptor = -1;
};

} // namespace report
