#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// The service's names, for the stand-in that bears them and the yardstick that calls them.

#define SERVICE "com.varn.bmc.spdm.spdm"
#define ROOT "/com/varn/bmc/spdm/spdm"
#define OBJECT_MANAGER "org.freedesktop.DBus.ObjectManager"
#define PROPERTIES "org.freedesktop.DBus.Properties"

static const char base64_alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Ends the program with a message when an sd-bus or sd-event call failed (a negative errno value);
/// otherwise hands the call's result on. A benchmark that limped on after an error would measure
/// nothing.
#define MUST(call) must((call), #call)

static inline int must(int result, const char* call)
{
    if (result < 0)
    {
        fprintf(stderr, "%s: %s\n", call, strerror(-result));
        exit(EXIT_FAILURE);
    }
    return result;
}

/// The memory, or the end of the program when there is none.
static inline void* must_have(void* memory)
{
    if (!memory)
    {
        fputs("out of memory\n", stderr);
        exit(EXIT_FAILURE);
    }
    return memory;
}
