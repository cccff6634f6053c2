#pragma once

/// Prints the likely reasons for a bus error.
void print_bus_error_details();
