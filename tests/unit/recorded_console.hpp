#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

/// Takes what is printed to std::cout while it lives, flush by flush.
class RecordedConsole : private std::stringbuf
{
  public:
    /// `at_flush` is called when something is given out.
    explicit RecordedConsole(void (*at_flush)() = [] {})
        : at_flush(at_flush), console(std::cout.rdbuf(this))
    {}

    ~RecordedConsole() override
    {
        std::cout.rdbuf(console);
    }

    RecordedConsole(const RecordedConsole&) = delete;
    RecordedConsole& operator=(const RecordedConsole&) = delete;

    /// What each flush gave out.
    const std::vector<std::string>& flushed() const
    {
        return pieces;
    }

    /// All that was printed, with a mark where a flush did not give out one line (with an empty line before
    /// it, if any), and before what was not flushed.
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
