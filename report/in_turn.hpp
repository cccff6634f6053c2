#pragma once

#include "report/writers/output.hpp"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace report
{

/// What reading an input has come to since the last piece.
struct Piece
{
    std::vector<std::string> texts; ///< One for each output.
    Totals totals;
    std::uint64_t incomplete = 0; ///< Of the errors those because the transcript stops.
    std::string complaint;
};

/// Hands on the pieces of inputs that several threads read, in the order of the inputs. The input whose
/// turn it is goes straight through; pieces of later ones are held, and where they are too many, their
/// thread waits. Inputs have to be begun in their order.
class InTurn
{
  public:
    using Take = std::function<void(Piece&&)>;

    /// `take` is called by one thread at a time. About `most_held` bytes are held.
    InTurn(std::size_t most_held, Take take);

    void put(std::size_t input, Piece&& piece);

    /// The input has no more pieces.
    void finish(std::size_t input);

    /// From now on pieces are thrown away, and nobody waits.
    void abandon();

  private:
    struct Held
    {
        std::vector<Piece> pieces;
        std::size_t bytes = 0;
        bool finished = false;
    };

    const std::size_t most_held;
    const Take take;
    std::mutex mutex;
    std::condition_variable moved;
    std::map<std::size_t, Held> held;
    std::size_t held_bytes = 0;
    std::size_t turn = 0;
    bool abandoned = false;
};

} // namespace report
