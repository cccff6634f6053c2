#pragma once

#include "shell/eid.hpp"

#include <cstdint>

/// Runs the device's authentication again and prints its outcome. Returns 0 when the service reports
/// that the device passed, 1 otherwise and on every failure.
int ReAuthenticate(Eid eid);

/// Fetches the certificate chain of a slot and prints the path under which the service stored it.
/// Returns 0 when the exchange worked, whatever the status, 1 otherwise. The slot is not checked.
int GetCertificate(Eid eid, std::uint16_t slot);

/// Prints the state of a slot's certificate. Returns 0 when the exchange worked, whatever the
/// status, 1 otherwise. The slot is not checked.
int GetCertificateProperties(Eid eid, std::uint32_t slot);
