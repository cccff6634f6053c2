#pragma once

/// The conversation with the operator: loops over the top-level menu until anything but one of its
/// activities is chosen. Input that cannot be read is never cleared: a menu that gets some repeats
/// itself, or ends, as its choice was left.
void run_main_menu();
