#pragma once

#include <unistd.h>
#include <utility>

namespace runner
{

/// A file descriptor that is closed with its owner.
class Descriptor
{
  public:
    Descriptor() = default;
    ~Descriptor()
    {
        close();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void close()
    {
        if (number >= 0)
        {
            ::close(std::exchange(number, -1));
        }
    }

    bool is_open() const
    {
        return number >= 0;
    }

    int number = -1;
};

} // namespace runner
