#pragma once

#include <sdbusplus/exception.hpp>

#include <cerrno>

/// One of the binding's errors, but not the one that it raises today.
struct AnotherBusError : sdbusplus::exception::exception
{
    const char* name() const noexcept override
    {
        return "test.Error.Another";
    }
    const char* description() const noexcept override
    {
        return "another bus error";
    }
    int get_errno() const noexcept override
    {
        return EIO;
    }
    const char* what() const noexcept override
    {
        return "test.Error.Another: another bus error";
    }
};
