#pragma once

#include "simulator/rules.hpp"
#include "simulator/signing.hpp"
#include "simulator/value.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace simulator
{

struct MeasurementBlock
{
    std::uint16_t index;
    Bytes data;
    std::uint32_t algorithm;
    std::uint16_t type;
};

inline constexpr std::uint32_t authentication_passed = 1;

/// A simulated device.
struct Device
{
    std::string path;
    /// Whether methods without a matching rule are answered.
    bool has_methods = true;
    /// Properties of the device interface.
    Properties properties;
    /// Properties of further interfaces, by interface name.
    std::map<std::string, Properties> interfaces;
    std::vector<MeasurementBlock> measurements;
    Signing signing;
    /// What ReAuthenticate answers, and sets the property ChallengeStatus to.
    std::uint32_t authentication = authentication_passed;
    /// By method name.
    std::map<std::string, std::vector<Rule>> rules;
    /// How often each method was called.
    std::map<std::string, std::uint64_t> calls;
};

} // namespace simulator
