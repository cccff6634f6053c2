#include "report/in_turn.hpp"

#include <gtest/gtest.h>

#include <atomic>
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

TEST_F(InTurnTest, WhoHoldsTooMuchWaits)
{
    std::atomic<bool> gone_on = false;
    auto other = std::async(std::launch::async, [&] {
        in_turn.put(1, piece(std::string(2000, 'b')));
        gone_on = true;
    });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_FALSE(gone_on);
    in_turn.put(0, piece("a"));
    in_turn.finish(0);
    other.get();
    EXPECT_EQ(taken, "a" + std::string(2000, 'b'));
}

TEST_F(InTurnTest, NobodyWaitsForWhatIsAbandoned)
{
    auto other =
        std::async(std::launch::async, [&] { in_turn.put(1, piece(std::string(2000, 'b'))); });
    in_turn.abandon();
    other.get();
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
