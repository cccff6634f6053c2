#pragma once

#include "shell/eid.hpp"

#include <map>
#include <optional>
#include <string>

/// The known devices' object paths by EID. Only the functions below write it: at start, and on the
/// monitor thread while the monitor runs. The main thread does not use it then, so no lock is needed.
extern std::map<Eid, std::string> discovered_objects;

/// One entry of `discovered_objects`.
using DeviceRecord = std::map<Eid, std::string>::value_type;

/// The EID that an object path implies: the decimal number that starts at the first digit of its
/// last element, truncated to 16 bits. None without a "/" or a digit there. Raises
/// `std::out_of_range` ("stoi") for a number beyond the 32-bit signed range.
std::optional<Eid> eid_from_path(const std::string& path);

/// Enters a device, or replaces the path of the one known by this EID.
void enter_device(Eid eid, const std::string& path);

/// The first EID, in ascending order, of a device that has this path; none when there is none.
std::optional<Eid> find_eid(const std::string& path);

/// Forgets the device known by this EID.
void erase_device(Eid eid);

/// The path of the device known by this EID; when there is none, an empty path is entered.
const std::string& object_path_entry(Eid eid);

/// The path of the device known by this EID, null when there is none.
const std::string* find_object_path(Eid eid);

/// As `find_object_path`; prints "Object name not found." when there is none.
const std::string* resolve_object_path(Eid eid);

/// Fills `discovered_objects` from the object tree below `root_path`. Returns 0, or -1 after
/// printing its error line; devices entered before the failure stay.
int discover_devices(const std::string& root_path);

/// Prints the known object paths, numbered from 1. Returns -1 when there are none, 0 otherwise.
int list_objects();

/// Reads the device's XMID and the EID that it reports. Returns 1 when both were read. Otherwise
/// returns 0 and gives "N/A" and `eid` after an error, an empty text and 0 when `eid` is unknown.
int read_device_identity(Eid eid, std::string& xmid_out, Eid& eid_out);
