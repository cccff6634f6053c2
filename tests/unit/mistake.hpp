#pragma once

#include "name_of.hpp"

#include <ostream>
#include <string>

/// What somebody wrote, and what has to be said of it.
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

/// what() of the Complaint that the action ends with.
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
