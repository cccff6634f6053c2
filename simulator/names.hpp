#pragma once

#include <string>

namespace simulator
{

// What the bus takes as a name. A message with any other costs its sender the connection.

bool is_object_path(const std::string& text);
bool is_interface_name(const std::string& text);
bool is_member_name(const std::string& text);
bool is_error_name(const std::string& text);

/// What keeps UTF-8 text from being sent, as the end of a complaint; empty when nothing does.
std::string flaw_in_text(const std::string& text);

/// Whether a signal may name this path or interface as its own: the bus reserves one of each.
bool is_reserved(const std::string& name);

} // namespace simulator
