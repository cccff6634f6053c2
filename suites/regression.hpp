#pragma once

/// Runs every device operation once on every known device, in the order of their EIDs, whatever the
/// outcomes. Prints nothing of its own when no device is known.
void run_regression();
