#include "monitor/match_rules.hpp"

namespace match_rules
{

std::string member(const std::string& name)
{
    return "member='" + name + "',";
}

std::string path(const std::string& object_path)
{
    return "path='" + object_path + "',";
}

std::string interface(const std::string& name)
{
    return "interface='" + name + "',";
}

std::string signal(const std::string& member_name, const std::string& object_path,
                   const std::string& interface_name)
{
    return "type='signal'," + member(member_name) + path(object_path) + interface(interface_name);
}

} // namespace match_rules
