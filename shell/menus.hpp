#pragma once

/// The conversation with the operator: loops over the top-level menu until anything but one of its
/// activities is chosen. After unreadable input later reads fail too: the top-level menu exits, the
/// operations menu repeats its last choice.
void run_main_menu();
