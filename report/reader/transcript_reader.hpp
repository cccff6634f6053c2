#pragma once

#include "report/model/run.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace report
{

class Conversation;

/// Reads a transcript's lines into runs. Any line is accepted: one that no part of the client prints
/// is a note.
class TranscriptReader
{
  public:
    /// Called with each conversation when it has ended. Controller, name and file are left to it.
    using TakeRun = std::function<void(Run&&)>;

    explicit TranscriptReader(TakeRun take_run);
    ~TranscriptReader();

    /// The next line, without its end, and the bytes that it took in the input.
    void line(std::string_view text, std::uint64_t bytes);

    /// The input's end.
    void finish();

  private:
    void end_conversation(Line last_line);

    TakeRun take_run;
    std::unique_ptr<Conversation> conversation;
    std::uint64_t conversation_bytes = 0;
    Line number = 0;
};

} // namespace report
