#pragma once

#include "name_of.hpp"

#include <ostream>
#include <string>

/// Wrong input, and the complaint it must cause.
struct Mistake
{
    std::string name;
    std::string written;
    std::string complaint;
};

inline std::ostream& operator<<(std::ostream& out, const Mistake& mistake)
{
    return out << mistake.written;
}

/// what() of the Complaint that the action throws.
template <typename Complaint, typename Action>
std::string complaint_of(Action action)
{
    try
    {
        action();
    }
    catch (const Complaint& complaint)
    {
        return complaint.what();
    }
    return "(no complaint)";
}
