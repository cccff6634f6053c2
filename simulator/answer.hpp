#pragma once

#include "simulator/rules.hpp"
#include "simulator/value.hpp"

#include <string>
#include <variant>
#include <vector>

namespace simulator
{

/// A method call as it was received. The interface is empty when the caller named none.
struct Call
{
    std::string path;
    std::string interface;
    std::string member;
    Body arguments;
};

struct Signal
{
    std::string path;
    std::string interface;
    std::string member;
    Body arguments;
};

/// What is sent back for a call, and the signals that go out before it.
struct Answer
{
    std::variant<Body, ErrorReply> reply;
    std::vector<Signal> signals = {};
};

} // namespace simulator
