#pragma once

#include <string>

/// The pieces of a D-Bus match rule. Each ends with a comma, and so does a whole rule; sd-bus
/// accepts that. Texts are not escaped.
namespace match_rules
{

std::string member(const std::string& name);
std::string path(const std::string& object_path);
std::string interface(const std::string& name);

/// The rule for one signal of one object.
std::string signal(const std::string& member_name, const std::string& object_path,
                   const std::string& interface_name);

} // namespace match_rules
