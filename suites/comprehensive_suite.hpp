#pragma once

#include "shell/eid.hpp"

/// Asks the operator on which device, or on all, to run the suite, and runs it where the service
/// answers for the device.
void run_comprehensive_test_suite_menu(Eid current_eid);

/// Runs the suite on one device: re-authentication, the four test categories and the table of their
/// results.
void run_comprehensive_test_suite(Eid eid);
