#include "operations/measurement_operation.hpp"

#include <string>

void print_title_rule(std::ostream& out)
{
    out << std::string(60, '=') << std::endl;
}

void print_section_rule(std::ostream& out)
{
    out << std::string(40, '-') << std::endl;
}
