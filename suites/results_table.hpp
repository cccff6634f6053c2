#pragma once

#include "shell/eid.hpp"
#include "suites/category_result.hpp"

#include <map>
#include <ostream>
#include <string>

/// What the categories counted, by name; the table lists them in this order.
using CategoryResults = std::map<std::string, CategoryResult>;

/// Texts that a device reports of itself; empty when it reports none.
struct DeviceDescriptor
{
    std::string xmid;
    std::string description;
};

/// Prints the table with a grade for each category and overall, the execution details and the
/// verdict. Column widths count bytes: grades with multi-byte characters look narrower. Restores the
/// stream's format.
void print_results(std::ostream& out, Eid eid, const DeviceDescriptor& device,
                   const CategoryResults& results);
