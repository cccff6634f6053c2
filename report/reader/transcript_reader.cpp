#include "report/reader/transcript_reader.hpp"

#include "report/reader/conversation.hpp"
#include "report/reader/line_shapes.hpp"

#include <utility>

namespace report
{

TranscriptReader::TranscriptReader(TakeRun take_run) : take_run(std::move(take_run)) {}

TranscriptReader::~TranscriptReader() = default;

void TranscriptReader::line(std::string_view text, std::uint64_t bytes)
{
    ++number;
    bool asked_slot = false;
    text = without_prompts(text, asked_slot);
    const auto recognised = recognise(text);
    // What precedes the first conversation belongs to it.
    const auto begins =
        recognised.shape == Shape::client_start && conversation && conversation->is_transcript();
    if (begins)
    {
        end_conversation(number - 1);
    }
    if (!conversation)
    {
        conversation = std::make_unique<Conversation>(number);
    }
    conversation->line(number, text, recognised, asked_slot);
    conversation_bytes += bytes;
}

void TranscriptReader::finish()
{
    if (conversation)
    {
        end_conversation(number);
    }
}

void TranscriptReader::end_conversation(Line last_line)
{
    const auto ended = std::exchange(conversation, nullptr);
    const auto bytes = std::exchange(conversation_bytes, 0);
    if (ended->is_transcript())
    {
        take_run(ended->finish(last_line, bytes));
    }
}

} // namespace report
