#include "report/in_turn.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace report;

Piece piece(std::string text)
{
    Piece made;
    made.texts.push_back(std::move(text));
    return made;
}

class InTurnTest : public testing::Test
{
  protected:
    std::string taken;
    InTurn in_turn{1000, [this](Piece&& piece) { taken += piece.texts.front(); }};
};

TEST_F(InTurnTest, TheFirstGoesStraightThrough)
{
    in_turn.put(0, piece("a"));
    EXPECT_EQ(taken, "a");
    in_turn.put(0, piece(std::string(5000, 'b')));
    EXPECT_EQ(taken.size(), 5001U);
}

TEST_F(InTurnTest, LaterOnesFollowWhenThoseBeforeHaveFinished)
{
    in_turn.put(1, piece("c"));
    in_turn.put(1, piece("d"));
    in_turn.put(2, piece("e"));
    in_turn.finish(2);
    in_turn.put(0, piece("a"));
    EXPECT_EQ(taken, "a");
    in_turn.finish(0);
    EXPECT_EQ(taken, "acd") << "the second has not finished";
    in_turn.put(1, piece("D"));
    EXPECT_EQ(taken, "acdD");
    in_turn.finish(1);
    EXPECT_EQ(taken, "acdDe");
    in_turn.put(3, piece("f"));
    EXPECT_EQ(taken, "acdDef");
}

/// A thread that puts a piece, and whether it waits for its turn.
class Other
{
  public:
    Other(InTurn& in_turn, std::size_t input, std::size_t bytes)
        : put(std::async(std::launch::async, [&in_turn, input, bytes] {
              in_turn.put(input, piece(std::string(bytes, 'b')));
          }))
    {}

    bool waits()
    {
        return put.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    }

    bool goes_on()
    {
        return put.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }

  private:
    std::future<void> put;
};

TEST_F(InTurnTest, WhoHoldsTooMuchWaits)
{
    Other other(in_turn, 1, 2000);
    EXPECT_TRUE(other.waits());
    in_turn.put(0, piece("a"));
    in_turn.finish(0);
    EXPECT_TRUE(other.goes_on());
    EXPECT_EQ(taken, "a" + std::string(2000, 'b'));
}

TEST_F(InTurnTest, WhoseTurnItIsGoesOnWhateverOthersHold)
{
    Other second(in_turn, 1, 2000);
    Other third(in_turn, 2, 2000);
    EXPECT_TRUE(second.waits());
    in_turn.finish(0);
    const bool second_goes_on = second.goes_on();
    EXPECT_TRUE(second_goes_on);
    EXPECT_TRUE(third.waits());
    in_turn.abandon(); // Or a failure would wait without end.
}

TEST_F(InTurnTest, WhatHasBeenTakenIsNoLongerHeld)
{
    in_turn.put(1, piece(std::string(700, 'b')));
    in_turn.finish(0);
    Other third(in_turn, 2, 700);
    EXPECT_TRUE(third.goes_on());
    in_turn.abandon();
}

TEST_F(InTurnTest, NobodyWaitsForWhatIsAbandoned)
{
    Other other(in_turn, 1, 2000);
    EXPECT_TRUE(other.waits());
    in_turn.abandon();
    EXPECT_TRUE(other.goes_on());
    in_turn.put(0, piece("a"));
    in_turn.finish(0);
    EXPECT_EQ(taken, "");
}

TEST_F(InTurnTest, ManyThreadsKeepTheOrder)
{
    constexpr std::size_t inputs = 500;
    std::string expected;
    for (std::size_t i = 0; i < inputs; ++i)
    {
        expected += std::to_string(i) + "," + std::string(i, '.');
    }
    std::atomic<std::size_t> next = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
        {
            threads.emplace_back([&] {
                for (auto i = next++; i < inputs; i = next++)
                {
                    in_turn.put(i, piece(std::to_string(i) + ","));
                    in_turn.put(i, piece(std::string(i, '.')));
                    in_turn.finish(i);
                }
            });
        }
    }
    EXPECT_EQ(taken, expected);
}

} // namespace
