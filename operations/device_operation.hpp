#pragma once

#include "shell/discovery.hpp"

#include <exception>
#include <iostream>
#include <string>

/// Verdicts of a device operation.
constexpr int success = 0;
constexpr int failure = 1;

/// Printed before the microseconds that an exchange took.
constexpr auto time_taken_label = " Time taken(In us): ";

/// Runs `operation` with the object path of the device `eid` and returns its verdict. An unknown
/// device is a failure. So is a standard exception from `operation`; `complaint` is then printed.
template <typename Operation>
int run_device_operation(Eid eid, const char* complaint, Operation operation)
{
    const auto* path = resolve_object_path(eid);
    if (path == nullptr)
    {
        return failure;
    }
    try
    {
        return operation(*path);
    }
    catch (const std::exception&)
    {
        std::cout << complaint << std::endl;
        return failure;
    }
}
