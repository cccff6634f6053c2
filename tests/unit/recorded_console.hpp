#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

/// Records what is printed to std::cout during its lifetime, flush by flush.
class RecordedConsole : private std::stringbuf
{
  public:
    /// `at_flush` is called at each flush.
    explicit RecordedConsole(void (*at_flush)() = [] {})
        : at_flush(at_flush), console(std::cout.rdbuf(this))
    {}

    ~RecordedConsole() override
    {
        std::cout.rdbuf(console);
    }

    RecordedConsole(const RecordedConsole&) = delete;
    RecordedConsole& operator=(const RecordedConsole&) = delete;

    /// The text of each flush.
    const std::vector<std::string>& flushed() const
    {
        return pieces;
    }

    /// All text, with a mark before a flush of more or less than one line (an empty line may come before it), and
    /// before text without a flush.
    std::string lines() const
    {
        std::string all;
        for (const auto& piece : pieces)
        {
            const bool one_line = piece == "\n" || piece.find('\n', 1) + 1 == piece.size();
            all += one_line ? piece : "<flushed at once>" + piece;
        }
        return str().empty() ? all : all + "<not flushed>" + str();
    }

  private:
    int sync() override
    {
        at_flush();
        pieces.push_back(str());
        str({});
        return 0;
    }

    void (*at_flush)();
    std::streambuf* console;
    std::vector<std::string> pieces;
};
