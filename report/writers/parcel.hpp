#pragma once

#include "report/judge/judgement.hpp"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// Numbers, counts and texts one after the other in a string.
namespace report
{

class Packer
{
  public:
    Packer& operator<<(std::uint64_t number)
    {
        packed.append(sizeof number, '\0');
        std::memcpy(packed.data() + packed.size() - sizeof number, &number, sizeof number);
        return *this;
    }

    Packer& operator<<(std::string_view text)
    {
        *this << text.size();
        packed.append(text);
        return *this;
    }

    Packer& operator<<(const Counts& counts)
    {
        for (const auto count : counts.of)
        {
            *this << count;
        }
        return *this;
    }

    std::string packed;
};

/// Takes them in the order in which they were packed.
class Unpacker
{
  public:
    explicit Unpacker(std::string_view packed) : rest(packed) {}

    std::uint64_t number()
    {
        std::uint64_t number = 0;
        std::memcpy(&number, take(sizeof number).data(), sizeof number);
        return number;
    }

    std::string_view text()
    {
        return take(number());
    }

    Counts counts()
    {
        Counts counts;
        for (auto& count : counts.of)
        {
            count = number();
        }
        return counts;
    }

    bool at_end() const
    {
        return rest.empty();
    }

  private:
    std::string_view take(std::size_t bytes)
    {
        const auto taken = rest.substr(0, bytes);
        rest.remove_prefix(bytes);
        return taken;
    }

    std::string_view rest;
};

} // namespace report
