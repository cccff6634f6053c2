#include "report/in_turn.hpp"

#include <utility>

namespace report
{

namespace
{

std::size_t bytes_of(const Piece& piece)
{
    std::size_t bytes = sizeof(piece) + piece.complaint.size();
    for (const std::string& text : piece.texts)
    {
        bytes += sizeof(std::string) + text.size();
    }
    return bytes;
}

} // namespace

InTurn::InTurn(std::size_t most_held, Take take) : most_held(most_held), take(std::move(take)) {}

void InTurn::put(std::size_t input, Piece&& piece)
{
    std::unique_lock lock(mutex);
    if (input != turn && !abandoned)
    {
        const auto bytes = bytes_of(piece);
        Held& mine = held[input];
        mine.pieces.push_back(std::move(piece));
        mine.bytes += bytes;
        held_bytes += bytes;
        moved.wait(lock, [&] { return input == turn || held_bytes <= most_held || abandoned; });
        return;
    }
    if (!abandoned)
    {
        take(std::move(piece));
    }
}

void InTurn::finish(std::size_t input)
{
    const std::unique_lock lock(mutex);
    held[input].finished = true;
    while (!abandoned)
    {
        const auto next = held.find(turn);
        if (next == held.end())
        {
            break;
        }
        held_bytes -= next->second.bytes;
        next->second.bytes = 0;
        for (Piece& piece : std::exchange(next->second.pieces, {}))
        {
            take(std::move(piece));
        }
        if (!next->second.finished)
        {
            break;
        }
        held.erase(next);
        ++turn;
    }
    moved.notify_all();
}

void InTurn::abandon()
{
    const std::unique_lock lock(mutex);
    abandoned = true;
    moved.notify_all();
}

} // namespace report
