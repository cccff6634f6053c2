// A stand-in for the SPDM service that answers as fast as it can, so that a benchmark measures the
// client and not the service. Every device is alike but for its number; every answer is a success.
//
// It prints "ready" once it owns the service's name, obeys the commands "add" and "go" on standard
// input, each answered with one line ("ok", or what went wrong), and ends on SIGTERM.

#include "peers.h"

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <errno.h>
#include <getopt.h>
#include <inttypes.h>
#include <signal.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/epoll.h>
#include <unistd.h>

#define DEVICE_PREFIX ROOT "/cpu/cpu_"

static struct
{
    uint32_t devices;
    uint32_t blocks;
    uint32_t block_size;
    uint32_t signed_bytes;
    uint32_t signals;
} options = {.devices = 1, .blocks = 5, .block_size = 48, .signed_bytes = 256, .signals = 0};

static uint8_t* block_data;
static char* signed_data;

enum Source
{
    from_table,
    from_device, ///< the device's number: a number as such, a text as "CPU_" and the number
    from_blocks  ///< how many measurement blocks each device has
};

struct Property
{
    const char* name;
    const char* text;
    uint32_t number;
    enum Source source;
    char type;
};

static const struct Property properties[] = {
    {.name = "ChallengeStatus", .type = 'u', .number = 1},
    {.name = "Version", .type = 's', .text = "1.2"},
    {.name = "Certificate", .type = 'b', .number = true},
    {.name = "ChallengeAuthRespSupport", .type = 'b', .number = true},
    {.name = "Measurement", .type = 'b', .number = true},
    {.name = "Encryption", .type = 'b', .number = true},
    {.name = "SignedMeasurement", .type = 'b', .number = true},
    {.name = "DeviceEID", .type = 'q', .source = from_device},
    {.name = "DeviceChallengeStatus", .type = 'b', .number = true},
    {.name = "DeviceCertStatus", .type = 'b', .number = true},
    {.name = "CertificateSlot0", .type = 'b', .number = true},
    {.name = "CertificateSlot1", .type = 'b', .number = true},
    {.name = "CertificateSlot2", .type = 'b', .number = false},
    {.name = "CertificateSlot3", .type = 'b', .number = false},
    {.name = "CertificateSlot4", .type = 'b', .number = false},
    {.name = "CertificateSlot5", .type = 'b', .number = false},
    {.name = "CertificateSlot6", .type = 'b', .number = false},
    {.name = "CertificateSlot7", .type = 'b', .number = false},
    {.name = "DeviceAllowed", .type = 'b', .number = true},
    {.name = "XMID", .type = 's', .source = from_device},
    {.name = "PhyBinding", .type = 'q', .number = 3},
    {.name = "Preferred", .type = 'b', .number = false},
    {.name = "MeasurementSpecification", .type = 's', .text = "DMTF"},
    {.name = "MeasurementSummary",
     .type = 's',
     .text = "b1iCUn5sSVYYbPrhYgvSzkPJUJvBV9vE0ryPVkyEZoQy0V4gXFzzFpX4Mv4Lq2cC"},
    {.name = "MeasurementSummaryHashAlgorithm", .type = 's', .text = "TPM_ALG_SHA_384"},
    {.name = "MeasurementSummaryType", .type = 's', .text = "All"},
    {.name = "NumMeasurements", .type = 'q', .source = from_blocks},
};

static const size_t property_count = sizeof properties / sizeof *properties;

static void device_path(char path[static 64], uint32_t device)
{
    snprintf(path, 64, DEVICE_PREFIX "%" PRIu32, device);
}

/// The number of the device at the path, 1 to the count of devices; 0 when no device lives there.
static uint32_t device_at(const char* path)
{
    if (strncmp(path, DEVICE_PREFIX, strlen(DEVICE_PREFIX)) != 0)
        return 0;
    char* end = NULL;
    const unsigned long number = strtoul(path + strlen(DEVICE_PREFIX), &end, 10);
    return *end == '\0' && number <= options.devices ? (uint32_t)number : 0;
}

static void append_text(sd_bus_message* message, const struct Property* property, uint32_t device)
{
    char name[16];
    snprintf(name, sizeof name, "CPU_%" PRIu32, device);
    const char* text = property->source == from_device ? name : property->text;
    MUST(sd_bus_message_append_basic(message, 's', text));
}

static void append_number(sd_bus_message* message, const struct Property* property, uint32_t device)
{
    const uint32_t numbers[] = {
        [from_table] = property->number, [from_device] = device, [from_blocks] = options.blocks};
    const uint32_t number = numbers[property->source];
    const uint16_t narrow = (uint16_t)number;
    const void* value = property->type == 'q' ? (const void*)&narrow : &number;
    MUST(sd_bus_message_append_basic(message, property->type, value));
}

static void append_value(sd_bus_message* message, const struct Property* property, uint32_t device)
{
    const char contents[] = {property->type, '\0'};
    MUST(sd_bus_message_open_container(message, 'v', contents));
    (property->type == 's' ? append_text : append_number)(message, property, device);
    MUST(sd_bus_message_close_container(message));
}

static void append_properties(sd_bus_message* message, uint32_t device)
{
    MUST(sd_bus_message_open_container(message, 'a', "{sv}"));
    for (size_t i = 0; i < property_count; ++i)
    {
        MUST(sd_bus_message_open_container(message, 'e', "sv"));
        MUST(sd_bus_message_append_basic(message, 's', properties[i].name));
        append_value(message, &properties[i], device);
        MUST(sd_bus_message_close_container(message));
    }
    MUST(sd_bus_message_close_container(message));
}

/// The two last arguments of InterfacesAdded and of an object manager's row: path and interfaces.
static void append_device(sd_bus_message* message, uint32_t device)
{
    char path[64];
    device_path(path, device);
    MUST(sd_bus_message_append_basic(message, 'o', path));
    MUST(sd_bus_message_open_container(message, 'a', "{sa{sv}}"));
    MUST(sd_bus_message_open_container(message, 'e', "sa{sv}"));
    MUST(sd_bus_message_append_basic(message, 's', SERVICE));
    append_properties(message, device);
    MUST(sd_bus_message_close_container(message));
    MUST(sd_bus_message_close_container(message));
}

// Each of these fills the reply for one device (0: the object manager's own object) and returns 0,
// or a negative errno value when the call cannot be answered.

static int answer_managed_objects(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    (void)call;
    (void)device;
    MUST(sd_bus_message_open_container(reply, 'a', "{oa{sa{sv}}}"));
    for (uint32_t i = 1; i <= options.devices; ++i)
    {
        MUST(sd_bus_message_open_container(reply, 'e', "oa{sa{sv}}"));
        append_device(reply, i);
        MUST(sd_bus_message_close_container(reply));
    }
    MUST(sd_bus_message_close_container(reply));
    return 0;
}

static int answer_get(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    const char* interface = NULL;
    const char* name = NULL;
    const int r = sd_bus_message_read(call, "ss", &interface, &name);
    if (r < 0)
        return r;
    for (size_t i = 0; i < property_count; ++i)
    {
        if (strcmp(properties[i].name, name) != 0)
            continue;
        append_value(reply, &properties[i], device);
        return 0;
    }
    return -ENOENT;
}

static int answer_get_all(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    (void)call;
    append_properties(reply, device);
    return 0;
}

static int answer_reauthenticate(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    (void)call;
    (void)device;
    const uint32_t passed = 1;
    MUST(sd_bus_message_append_basic(reply, 'u', &passed));
    return 0;
}

static int answer_certificate(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    uint16_t slot = 0;
    const int r = sd_bus_message_read_basic(call, 'q', &slot);
    if (r < 0)
        return r;
    char file[64];
    snprintf(file, sizeof file, "/var/lib/spdm/cpu_%" PRIu32 "_slot_%u.pem", device, slot);
    MUST(sd_bus_message_append(reply, "qs", 0, file));
    return 0;
}

static int answer_certificate_properties(sd_bus_message* call, sd_bus_message* reply,
                                         uint32_t device)
{
    (void)call;
    (void)device;
    const uint32_t success = 0;
    MUST(sd_bus_message_append_basic(reply, 'u', &success));
    return 0;
}

static void append_block(sd_bus_message* reply, uint16_t index)
{
    MUST(sd_bus_message_open_container(reply, 'r', "qayuq"));
    MUST(sd_bus_message_append_basic(reply, 'q', &index));
    MUST(sd_bus_message_append_array(reply, 'y', block_data, options.block_size));
    MUST(sd_bus_message_append(reply, "uq", (uint32_t)4, 1));
    MUST(sd_bus_message_close_container(reply));
}

static int answer_measurement(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    (void)call;
    (void)device;
    MUST(sd_bus_message_append(reply, "qq", 0, (int)options.blocks));
    MUST(sd_bus_message_open_container(reply, 'a', "(qayuq)"));
    for (uint32_t i = 1; i <= options.blocks; ++i)
        append_block(reply, (uint16_t)i);
    MUST(sd_bus_message_close_container(reply));
    return 0;
}

static int answer_signed_measurement(sd_bus_message* call, sd_bus_message* reply, uint32_t device)
{
    (void)call;
    (void)device;
    MUST(sd_bus_message_append(reply, "ussss", (uint32_t)0, signed_data, "TPM_ALG_SHA_384",
                               "ECDSA-P384", "1.2"));
    return 0;
}

struct Method
{
    const char* interface;
    const char* member;
    bool of_device;
    int (*answer)(sd_bus_message* call, sd_bus_message* reply, uint32_t device);
};

static const struct Method methods[] = {
    {OBJECT_MANAGER, "GetManagedObjects", false, answer_managed_objects},
    {PROPERTIES, "Get", true, answer_get},
    {PROPERTIES, "GetAll", true, answer_get_all},
    {SERVICE, "ReAuthenticate", true, answer_reauthenticate},
    {SERVICE, "GetCertificate", true, answer_certificate},
    {SERVICE, "GetCertificateProperties", true, answer_certificate_properties},
    {SERVICE, "GetMeasurement", true, answer_measurement},
    {SERVICE, "GetSignedMeasurement", true, answer_signed_measurement},
};

static const struct Method* find_method(sd_bus_message* call)
{
    for (size_t i = 0; i < sizeof methods / sizeof *methods; ++i)
        if (sd_bus_message_is_method_call(call, methods[i].interface, methods[i].member) > 0)
            return &methods[i];
    return NULL;
}

/// Answers the calls that the table knows; the rest is left to the bus library, which refuses it.
static int on_message(sd_bus_message* call, void* userdata, sd_bus_error* error)
{
    (void)userdata;
    (void)error;
    const struct Method* method = find_method(call);
    if (!method)
        return 0;
    const uint32_t device = device_at(sd_bus_message_get_path(call));
    if (method->of_device && device == 0)
        return 0;

    sd_bus_message* reply = NULL;
    MUST(sd_bus_message_new_method_return(call, &reply));
    const int r = method->answer(call, reply, device);
    if (r < 0)
        sd_bus_reply_method_errno(call, r, NULL);
    else
        MUST(sd_bus_send(NULL, reply, NULL));
    sd_bus_message_unref(reply);
    return 1;
}

/// Whether some client of the bus listens to the service's Info signal: the last of the monitor's
/// own subscriptions, so all of them are in place then.
static bool is_monitored(sd_bus_message* statistics)
{
    bool found = false;
    MUST(sd_bus_message_enter_container(statistics, 'a', "{sas}"));
    while (MUST(sd_bus_message_enter_container(statistics, 'e', "sas")) > 0)
    {
        MUST(sd_bus_message_skip(statistics, "s"));
        MUST(sd_bus_message_enter_container(statistics, 'a', "s"));
        const char* rule = NULL;
        while (MUST(sd_bus_message_read_basic(statistics, 's', &rule)) > 0)
            found = found || strstr(rule, "member='Info'");
        MUST(sd_bus_message_exit_container(statistics));
        MUST(sd_bus_message_exit_container(statistics));
    }
    return found;
}

/// Waits until the client's monitor has subscribed, for at most a minute.
static const char* wait_for_monitor(sd_bus* bus)
{
    enum
    {
        turns = 60 * 1000,
        turn_us = 1000
    };
    for (int i = 0; i < turns; ++i)
    {
        sd_bus_message* reply = NULL;
        if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules", NULL, &reply,
                               NULL) < 0)
            return "the bus daemon keeps no statistics of match rules";
        const bool monitored = is_monitored(reply);
        sd_bus_message_unref(reply);
        if (monitored)
            return NULL;
        usleep(turn_us);
    }
    return "no client monitors the service";
}

/// Announces the first device. Returns what went wrong, or nothing.
static const char* add_device(sd_bus* bus)
{
    const char* problem = wait_for_monitor(bus);
    if (problem)
        return problem;
    sd_bus_message* signal = NULL;
    MUST(sd_bus_message_new_signal(bus, &signal, ROOT "/cpu", OBJECT_MANAGER, "InterfacesAdded"));
    append_device(signal, 1);
    MUST(sd_bus_send(bus, signal, NULL));
    sd_bus_message_unref(signal);
    return NULL;
}

/// Sends the running numbers as errors of the first device.
static const char* send_errors(sd_bus* bus)
{
    char path[64];
    device_path(path, 1);
    for (uint32_t i = 0; i < options.signals; ++i)
    {
        MUST(sd_bus_emit_signal(bus, path, SERVICE, "DeviceError", "q", (int)(uint16_t)i));
        if (i % 1024 == 0) // the library's queue of unsent messages is bounded
            MUST(sd_bus_flush(bus));
    }
    return NULL;
}

static void obey(sd_bus* bus, const char* command)
{
    const char* problem = "unknown command";
    if (strcmp(command, "add") == 0)
        problem = add_device(bus);
    else if (strcmp(command, "go") == 0)
        problem = send_errors(bus);
    MUST(sd_bus_flush(bus));
    puts(problem ? problem : "ok");
    fflush(stdout);
}

static int on_input(sd_event_source* source, int fd, uint32_t events, void* userdata)
{
    (void)events;
    static char command[64];
    static size_t used;
    char c;
    const ssize_t n = read(fd, &c, 1);
    if (n < 0 && errno == EINTR)
        return 0;
    if (n <= 0)
        return sd_event_source_set_enabled(source, SD_EVENT_OFF);
    if (c != '\n')
    {
        if (used < sizeof command - 1)
            command[used++] = c;
        return 0;
    }
    command[used] = '\0';
    used = 0;
    obey(userdata, command);
    return 0;
}

static uint8_t pattern(size_t position)
{
    return (uint8_t)(position * 37 + (position >> 8));
}

static uint8_t* make_bytes(size_t count)
{
    uint8_t* bytes = must_have(malloc(count + 1));
    for (size_t i = 0; i < count; ++i)
        bytes[i] = pattern(i);
    return bytes;
}

static char* encode_base64(const uint8_t* bytes, size_t count)
{
    char* text = must_have(malloc((count + 2) / 3 * 4 + 1));
    char* out = text;
    for (size_t i = 0; i < count; i += 3)
    {
        const size_t have = count - i < 3 ? count - i : 3;
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < have ? bytes[i + k] : 0u);
        for (size_t k = 0; k < 4; ++k)
            *out++ = k <= have ? base64_alphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    *out = '\0';
    return text;
}

static void make_payloads(void)
{
    block_data = make_bytes(options.block_size);
    uint8_t* bytes = make_bytes(options.signed_bytes);
    signed_data = encode_base64(bytes, options.signed_bytes);
    free(bytes);
}

static uint32_t read_count(const char* text, uint32_t least, uint32_t most)
{
    char* end = NULL;
    errno = 0;
    const unsigned long count = strtoul(text, &end, 10);
    if (errno == 0 && end != text && *end == '\0' && count >= least && count <= most)
        return (uint32_t)count;
    fprintf(stderr, "%s: not a number from %" PRIu32 " to %" PRIu32 "\n", text, least, most);
    exit(EXIT_FAILURE);
}

/// The upper bounds are D-Bus's (an array holds at most 64 MiB) or those of a 16-bit number.
static void read_options(int argc, char** argv)
{
    static const struct option names[] = {
        {"devices", required_argument, NULL, 'd'}, {"block-size", required_argument, NULL, 'b'},
        {"blocks", required_argument, NULL, 'k'},  {"signed-bytes", required_argument, NULL, 's'},
        {"signals", required_argument, NULL, 'm'}, {NULL, 0, NULL, 0}};
    int option;
    while ((option = getopt_long(argc, argv, "", names, NULL)) != -1)
        switch (option)
        {
            case 'd': options.devices = read_count(optarg, 1, 40000); break;
            case 'b': options.block_size = read_count(optarg, 0, 1 << 20); break;
            case 'k': options.blocks = read_count(optarg, 0, UINT16_MAX); break;
            case 's': options.signed_bytes = read_count(optarg, 0, 48 << 20); break;
            case 'm': options.signals = read_count(optarg, 0, UINT16_MAX + 1); break;
            default:
                fprintf(stderr,
                        "usage: %s --devices N [--block-size B] [--blocks K] [--signed-bytes S]"
                        " [--signals M]\n",
                        argv[0]);
                exit(EXIT_FAILURE);
        }
}

static sd_event* make_loop(sd_bus* bus)
{
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    sigprocmask(SIG_BLOCK, &termination, NULL);

    sd_event* loop = NULL;
    MUST(sd_event_default(&loop));
    MUST(sd_event_add_signal(loop, NULL, SIGTERM, NULL, NULL));
    MUST(sd_bus_attach_event(bus, loop, SD_EVENT_PRIORITY_NORMAL));
    MUST(sd_bus_set_exit_on_disconnect(bus, true));
    // Files and /dev/null cannot be waited for; then there are no commands.
    const int r = sd_event_add_io(loop, NULL, STDIN_FILENO, EPOLLIN, on_input, bus);
    if (r != -EPERM)
        MUST(r);
    return loop;
}

int main(int argc, char** argv)
{
    read_options(argc, argv);
    make_payloads();
    sd_bus* bus = NULL;
    MUST(sd_bus_open_system(&bus));
    MUST(sd_bus_add_filter(bus, NULL, on_message, NULL));
    sd_event* loop = make_loop(bus);
    MUST(sd_bus_request_name(bus, SERVICE, 0));
    puts("ready");
    fflush(stdout);

    const int r = MUST(sd_event_loop(loop));
    sd_bus_flush_close_unref(bus);
    sd_event_unref(loop);
    free(block_data);
    free(signed_data);
    return r;
}
