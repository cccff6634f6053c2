#pragma once

/// Calls each device method once on every known device, in the order of their EIDs, whatever the
/// outcomes.
void run_regression();
