// The least that a client of the SPDM service must do, written straight on sd-bus: the same
// connections, calls and matches as the client, every field of every reply read, and the same bytes
// written, one write for each flushed line. The client is measured against it.
//
// What the operator would type is fixed by the mode, the one argument. The service answers success
// everywhere and in whole; any other answer ends the yardstick, for the comparison would be void.

#include <systemd/sd-bus.h>

#include <errno.h>
#include <inttypes.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

// The service's names.

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

#define RULE_OF_40 "----------------------------------------"
#define RULE_OF_60 "============================================================"
#define DOTS_OF_88                                                                                 \
    "............................................"                                                 \
    "............................................"

// Output: text gathers here until it is flushed. The monitor's thread prints only while the main
// thread waits for input, so the two never meet.

static struct
{
    char data[4 << 20];
    size_t used;
} pending;

/// Where the next bytes go; there is always room for that many.
static char* reserve(size_t count)
{
    MUST(count <= sizeof pending.data - pending.used ? 0 : -EMSGSIZE);
    return pending.data + pending.used;
}

static void put(const char* text)
{
    const size_t length = strlen(text);
    memcpy(reserve(length), text, length);
    pending.used += length;
}

static void flush(void)
{
    for (size_t done = 0; done < pending.used;)
    {
        const ssize_t n = write(STDOUT_FILENO, pending.data + done, pending.used - done);
        if (n < 0)
            MUST(errno == EINTR ? 0 : -errno);
        else
            done += (size_t)n;
    }
    pending.used = 0;
}

static void say(const char* line)
{
    put(line);
    put("\n");
    flush();
}

/// A formatted line of moderate length; long texts are put in pieces.
__attribute__((format(printf, 1, 2))) static void sayf(const char* format, ...)
{
    enum
    {
        room = 1024
    };
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(reserve(room), room, format, arguments);
    va_end(arguments);
    MUST(length < room ? 0 : -EMSGSIZE);
    pending.used += (size_t)length;
    put("\n");
    flush();
}

/// A prompt stays on the line and is flushed only because input is about to be read.
static void prompt(const char* text)
{
    put(text);
    flush();
}

static const char hex_digits[] = "0123456789abcdef";

/// The offset in at least four digits.
static char* put_offset(char* out, size_t offset)
{
    int digits = 4;
    while (digits < 16 && offset >> (4 * digits) != 0)
        ++digits;
    *out++ = ' ';
    *out++ = ' ';
    while (digits-- > 0)
        *out++ = hex_digits[offset >> (4 * digits) & 15];
    *out++ = ':';
    *out++ = ' ';
    return out;
}

/// Lines of 16 bytes for the bytes from begin to end. A line starts where the position in the whole
/// data is a multiple of 16, while the offset that it shows counts from begin.
static void say_dump(const uint8_t* data, size_t begin, size_t end)
{
    for (size_t i = begin; i < end;)
    {
        char* out = reserve(128);
        const size_t next = (i | 15) + 1 < end ? (i | 15) + 1 : end;
        if (i % 16 == 0)
            out = put_offset(out, i - begin);
        for (; i < next; ++i)
        {
            *out++ = hex_digits[data[i] >> 4];
            *out++ = hex_digits[data[i] & 15];
            *out++ = ' ';
        }
        *out++ = '\n';
        pending.used = (size_t)(out - pending.data);
        flush();
    }
}

// Menus.

static void say_top_menu(void)
{
    say("1: Regression Test\n2: Normal Test\n3: Measurement Test Suite\n4: Exit \n"
        "Please Choose the option:");
}

static void say_operations_menu(void)
{
    say("1: ReAuthenticate\n2: GetCertficate\n3: GetCertificateProperties\n"
        "4: GetAll Properties\n5: Recurring ReAuthenticate\n6: GetMeasurement \n"
        "7: GetSignedMeasurement \n8: Monitor Signals\n9: Go Back \nPlease Choose the option:");
}

// Calls.

struct Call
{
    sd_bus* bus;
    sd_bus_message* call;
    sd_bus_message* reply;
};

static sd_bus* acquire_bus(void)
{
    sd_bus* bus = NULL;
    const char* name = NULL;
    MUST(sd_bus_default_system(&bus));
    MUST(sd_bus_get_unique_name(bus, &name));
    return bus;
}

static void create_call(struct Call* call, const char* path, const char* interface,
                        const char* member)
{
    MUST(sd_bus_message_new_method_call(call->bus, &call->call, SERVICE, path, interface, member));
}

static struct Call begin_call(const char* path, const char* interface, const char* member)
{
    struct Call call = {.bus = acquire_bus()};
    create_call(&call, path, interface, member);
    return call;
}

static sd_bus_message* exchange(struct Call* call)
{
    MUST(sd_bus_call(call->bus, call->call, 0, NULL, &call->reply));
    return call->reply;
}

static void release_messages(struct Call* call)
{
    call->reply = sd_bus_message_unref(call->reply);
    call->call = sd_bus_message_unref(call->call);
}

static void end_call(struct Call* call)
{
    release_messages(call);
    call->bus = sd_bus_unref(call->bus);
}

static int64_t now_ns(void)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return (int64_t)now.tv_sec * 1000000000 + now.tv_nsec;
}

static int64_t us_since(int64_t start_ns)
{
    return (now_ns() - start_ns) / 1000;
}

static const char* read_text(sd_bus_message* message, char type)
{
    const char* text = NULL;
    MUST(sd_bus_message_read_basic(message, type, &text));
    return text;
}

static uint16_t read_u16(sd_bus_message* message)
{
    uint16_t value = 0;
    MUST(sd_bus_message_read_basic(message, 'q', &value));
    return value;
}

static uint32_t read_u32(sd_bus_message* message)
{
    uint32_t value = 0;
    MUST(sd_bus_message_read_basic(message, 'u', &value));
    return value;
}

static void append_u16(sd_bus_message* message, uint16_t value)
{
    MUST(sd_bus_message_append_basic(message, 'q', &value));
}

/// The one list of indices that is ever asked for: 255, which means all blocks.
static void append_indices(sd_bus_message* message)
{
    const uint16_t all = 255;
    MUST(sd_bus_message_append_array(message, 'q', &all, sizeof all));
}

static void expect(bool met, const char* what)
{
    if (met)
        return;
    fprintf(stderr, "the service did not answer as in the benchmarks: %s\n", what);
    exit(EXIT_FAILURE);
}

// Devices, ascending by EID.

struct Device
{
    uint16_t eid;
    char* path;
};

static struct
{
    struct Device list[10000];
    size_t count;
} devices;

/// The number that begins at the first digit of the path's last element, as 16 bits.
static bool read_eid(const char* path, uint16_t* eid)
{
    const char* tail = path + strlen(path);
    while (tail != path && tail[-1] != '/')
        --tail;
    const char* digits = strpbrk(tail, "0123456789");
    if (!digits)
        return false;
    *eid = (uint16_t)strtol(digits, NULL, 10);
    return true;
}

static char* copy_text(const char* text)
{
    char* copy = strdup(text);
    MUST(copy ? 0 : -ENOMEM);
    return copy;
}

static void append_device(uint16_t eid, const char* path)
{
    expect(devices.count < sizeof devices.list / sizeof *devices.list, "there are few devices");
    devices.list[devices.count++] = (struct Device){eid, copy_text(path)};
}

static int compare_devices(const void* a, const void* b)
{
    const struct Device* left = a;
    const struct Device* right = b;
    return left->eid - right->eid;
}

/// The device that is added is always a known one.
static void replace_device(uint16_t eid, const char* path)
{
    const struct Device key = {.eid = eid};
    struct Device* device =
        bsearch(&key, devices.list, devices.count, sizeof *devices.list, compare_devices);
    expect(device, "the device that is added is a known one");
    free(device->path);
    device->path = copy_text(path);
}

static void read_variant(sd_bus_message* message)
{
    const char* peeked = NULL;
    MUST(sd_bus_message_peek_type(message, NULL, &peeked));
    const char contents[] = {peeked[0], '\0'};
    union
    {
        const char* text;
        uint32_t number;
        uint16_t narrow;
        int boolean;
    } value;
    MUST(sd_bus_message_enter_container(message, 'v', contents));
    MUST(sd_bus_message_read_basic(message, contents[0], &value));
    MUST(sd_bus_message_exit_container(message));
}

static void read_properties(sd_bus_message* message)
{
    MUST(sd_bus_message_enter_container(message, 'a', "{sv}"));
    while (MUST(sd_bus_message_enter_container(message, 'e', "sv")) > 0)
    {
        read_text(message, 's');
        read_variant(message);
        MUST(sd_bus_message_exit_container(message));
    }
    MUST(sd_bus_message_exit_container(message));
}

static void read_interfaces(sd_bus_message* message)
{
    MUST(sd_bus_message_enter_container(message, 'a', "{sa{sv}}"));
    while (MUST(sd_bus_message_enter_container(message, 'e', "sa{sv}")) > 0)
    {
        read_text(message, 's');
        read_properties(message);
        MUST(sd_bus_message_exit_container(message));
    }
    MUST(sd_bus_message_exit_container(message));
}

static void read_object(sd_bus_message* message)
{
    const char* path = read_text(message, 'o');
    uint16_t eid = 0;
    if (read_eid(path, &eid))
        append_device(eid, path);
    read_interfaces(message);
}

static void discover_devices(void)
{
    struct Call call = begin_call(ROOT "/devicemanager", OBJECT_MANAGER, "GetManagedObjects");
    sd_bus_message* reply = exchange(&call);
    MUST(sd_bus_message_enter_container(reply, 'a', "{oa{sa{sv}}}"));
    while (MUST(sd_bus_message_enter_container(reply, 'e', "oa{sa{sv}}")) > 0)
    {
        read_object(reply);
        MUST(sd_bus_message_exit_container(reply));
    }
    MUST(sd_bus_message_exit_container(reply));
    qsort(devices.list, devices.count, sizeof *devices.list, compare_devices);
    end_call(&call);
}

// The device table.

static sd_bus_message* get_property(struct Call* call, const char* path, const char* name,
                                    const char* type)
{
    create_call(call, path, PROPERTIES, "Get");
    MUST(sd_bus_message_append_basic(call->call, 's', SERVICE));
    MUST(sd_bus_message_append_basic(call->call, 's', name));
    sd_bus_message* reply = exchange(call);
    MUST(sd_bus_message_enter_container(reply, 'v', type));
    return reply;
}

static void say_row(size_t row, const struct Device* device)
{
    struct Call call = {.bus = acquire_bus()};
    const char* text = read_text(get_property(&call, device->path, "XMID", "s"), 's');
    char* xmid = copy_text(text);
    release_messages(&call);
    const uint16_t eid = read_u16(get_property(&call, device->path, "DeviceEID", "q"));
    end_call(&call);
    sayf("%5zu | %4u | %15s | %s", row, eid, xmid, device->path);
    free(xmid);
}

static void say_device_table(void)
{
    say("Available SPDM objects:");
    for (size_t i = 0; i < devices.count; ++i)
        sayf("%zu: %s", i + 1, devices.list[i].path);
    put("\n");
    say("\nDiscovered SPDM Devices:");
    say("Index | EID  | XMID            | D-Bus Path");
    say("------|------|-----------------|------------------------------------------");
    for (size_t i = 0; i < devices.count; ++i)
        say_row(i, &devices.list[i]);
    sayf("%5zu |  ALL | Run on all objects", devices.count);
    sayf("\nChoose the device index (0-%zu): ", devices.count);
}

// The operations.

static void reauthenticate(const char* path)
{
    struct Call call = begin_call(path, SERVICE, "ReAuthenticate");
    const int64_t start = now_ns();
    expect(read_u32(exchange(&call)) == 1, "ReAuthenticate passes");
    const int64_t elapsed = us_since(start);
    sayf("ReAuth Status: Passed Time taken(In us): %" PRId64, elapsed);
    end_call(&call);
}

static void get_certificate(const char* path)
{
    struct Call call = begin_call(path, SERVICE, "GetCertificate");
    append_u16(call.call, 0);
    const int64_t start = now_ns();
    sd_bus_message* reply = exchange(&call);
    expect(read_u16(reply) == 0, "GetCertificate succeeds");
    const char* file = read_text(reply, 's');
    const int64_t elapsed = us_since(start);
    sayf("Certificate Status: Success Certificate Path: %s Time taken(In us): %" PRId64, file,
         elapsed);
    end_call(&call);
}

static void get_certificate_properties(const char* path)
{
    struct Call call = begin_call(path, SERVICE, "GetCertificateProperties");
    const uint32_t slot = 0;
    MUST(sd_bus_message_append_basic(call.call, 'u', &slot));
    const int64_t start = now_ns();
    expect(read_u32(exchange(&call)) == 0, "GetCertificateProperties succeeds");
    const int64_t elapsed = us_since(start);
    sayf("Certificate Status: Success Time taken(In us): %" PRId64, elapsed);
    end_call(&call);
}

struct Block
{
    const uint8_t* data; ///< lives as long as the reply
    size_t size;
    uint32_t algorithm;
    uint16_t index;
    uint16_t type;
};

static struct Block read_block(sd_bus_message* message)
{
    struct Block block = {.index = read_u16(message)};
    const void* data = NULL;
    MUST(sd_bus_message_read_array(message, 'y', &data, &block.size));
    block.data = data;
    block.algorithm = read_u32(message);
    block.type = read_u16(message);
    return block;
}

static struct Block blocks[255];

static size_t read_blocks(sd_bus_message* message)
{
    size_t count = 0;
    MUST(sd_bus_message_enter_container(message, 'a', "(qayuq)"));
    while (MUST(sd_bus_message_enter_container(message, 'r', "qayuq")) > 0)
    {
        expect(count < sizeof blocks / sizeof *blocks, "there are few blocks");
        blocks[count++] = read_block(message);
        MUST(sd_bus_message_exit_container(message));
    }
    MUST(sd_bus_message_exit_container(message));
    return count;
}

static void say_blocks(size_t count)
{
    say("\n📊 DETAILED MEASUREMENT DATA ANALYSIS");
    say(RULE_OF_60);
    for (size_t i = 0; i < count; ++i)
    {
        const struct Block* block = &blocks[i];
        sayf("\n📋 MEASUREMENT BLOCK %zu", i + 1);
        say(RULE_OF_40);
        sayf("Index:         %u", block->index);
        sayf("Algorithm:     %" PRIu32, block->algorithm);
        sayf("Type:          %u", block->type);
        sayf("Data Size:     %zu bytes", block->size);
        say("Data (Hex):");
        say_dump(block->data, 0, block->size);
        say("");
    }
}

static void get_measurement(const char* path)
{
    struct Call call = begin_call(path, SERVICE, "GetMeasurement");
    append_u16(call.call, 0);
    append_indices(call.call);
    const int64_t start = now_ns();
    sayf("DEBUG: Calling D-Bus method on object: %s", path);
    sd_bus_message* reply = exchange(&call);
    say("DEBUG: Reading D-Bus reply...");
    expect(read_u16(reply) == 0, "GetMeasurement succeeds");
    say("DEBUG: Read status: 0");
    const uint16_t announced = read_u16(reply);
    sayf("DEBUG: Read NumMeasurements: %u", announced);
    const size_t count = read_blocks(reply);
    sayf("DEBUG: Read measurement data, size: %zu", count);
    const int64_t elapsed = us_since(start);
    sayf("Get Measurement Status: 0 (Success) NumMeasurements: %u Time taken (in us): %" PRId64,
         announced, elapsed);
    expect(count != 0, "GetMeasurement returns blocks");
    say_blocks(count);
    end_call(&call);
}

struct Bytes
{
    uint8_t* data;
    size_t size;
};

static void fill_sextets(uint8_t sextets[static 256])
{
    memset(sextets, 64, 256);
    for (uint8_t i = 0; i < 64; ++i)
        sextets[(unsigned char)base64_alphabet[i]] = i;
}

/// Ends at the first character outside the alphabet; a last group of n characters gives n - 1 bytes.
static struct Bytes decode_base64(const char* text, size_t length)
{
    uint8_t sextets[256];
    fill_sextets(sextets);
    struct Bytes bytes = {.data = malloc(length / 4 * 3 + 3)};
    MUST(bytes.data ? 0 : -ENOMEM);
    uint32_t group = 0;
    size_t used = 0;
    for (uint8_t sextet; used < length && (sextet = sextets[(unsigned char)text[used]]) < 64;)
    {
        group = group << 6 | sextet;
        if (++used % 4 != 0)
            continue;
        bytes.data[bytes.size++] = (uint8_t)(group >> 16);
        bytes.data[bytes.size++] = (uint8_t)(group >> 8);
        bytes.data[bytes.size++] = (uint8_t)group;
    }
    const size_t left = used % 4;
    group <<= 6 * (4 - left);
    for (size_t i = 1; i < left; ++i)
        bytes.data[bytes.size++] = (uint8_t)(group >> (24 - 8 * i));
    return bytes;
}

enum
{
    p384_signature_size = 96,
    least_measurement_size = 16
};

struct SignedMeasurement
{
    const char* data;
    size_t length;
    const char* hashing;
    const char* signing;
    const char* version;
};

static void say_signed_validation(size_t total)
{
    say("\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...");
    expect(total >= p384_signature_size + least_measurement_size, "measurement and signature");
    say("✅ VALIDATION: Signed measurement structure appears valid");
    sayf("   • Total size: %zu bytes", total);
    sayf("   • Expected signature size: %d bytes", p384_signature_size);
    sayf("   • Estimated measurement data: %zu bytes", total - p384_signature_size);
}

static void say_signed_analysis(const struct SignedMeasurement* measurement, struct Bytes decoded)
{
    say("\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS");
    say(RULE_OF_60);
    sayf("Hashing Algorithm: %s", measurement->hashing);
    sayf("Signing Algorithm: %s", measurement->signing);
    sayf("Total Data Size:   %zu bytes", measurement->length);
    say("Signed Data (Base64 - Received):");
    put("  ");
    say(measurement->data);
    sayf("Decoded Size: %zu bytes", decoded.size);
    say("\n📄 COMPLETE DECODED OUTPUT:");
    say(RULE_OF_40);
    say_dump(decoded.data, 0, decoded.size);
    const size_t split = decoded.size - p384_signature_size;
    say("\nACTUAL MEASUREMENT DATA SECTION:");
    say(RULE_OF_40);
    sayf("Measurement Size: %zu bytes", split);
    say_dump(decoded.data, 0, split);
    say("\n🔐 SIGNATURE DATA SECTION:");
    say(RULE_OF_40);
    sayf("Signature Size: %d bytes", p384_signature_size);
    say("Signature (Hex):");
    say_dump(decoded.data, split, decoded.size);
    say("");
}

static struct SignedMeasurement read_signed_measurement(sd_bus_message* reply)
{
    struct SignedMeasurement measurement = {.data = read_text(reply, 's')};
    measurement.length = strlen(measurement.data);
    measurement.hashing = read_text(reply, 's');
    measurement.signing = read_text(reply, 's');
    measurement.version = read_text(reply, 's');
    return measurement;
}

static void say_signed_result(const struct SignedMeasurement* measurement, int64_t elapsed_us)
{
    put("Get Signed Measurement Status: 0 (Success) Signed Measurements: ");
    put(measurement->data);
    sayf(" Hashing Algorithm: %s Signing Algorithm: %s Version: %s Time taken(In us): %" PRId64,
         measurement->hashing, measurement->signing, measurement->version, elapsed_us);
}

static void get_signed_measurement(const char* path)
{
    struct Call call = begin_call(path, SERVICE, "GetSignedMeasurement");
    append_indices(call.call);
    append_u16(call.call, 0);
    MUST(sd_bus_message_append_basic(call.call, 's', ""));
    const int64_t start = now_ns();
    sayf("DEBUG: Calling D-Bus signed measurement method on object: %s", path);
    sd_bus_message* reply = exchange(&call);
    say("DEBUG: Reading D-Bus signed measurement reply...");
    expect(read_u32(reply) == 0, "GetSignedMeasurement succeeds");
    say("DEBUG: Read status: 0");
    const struct SignedMeasurement measurement = read_signed_measurement(reply);
    sayf("DEBUG: Read signed measurement data, length: %zu", measurement.length);
    const int64_t elapsed = us_since(start);
    expect(strcmp(measurement.signing, "ECDSA-P384") == 0, "signs with ECDSA-P384");

    say_signed_result(&measurement, elapsed);
    struct Bytes decoded = decode_base64(measurement.data, measurement.length);
    say_signed_validation(decoded.size);
    say_signed_analysis(&measurement, decoded);
    free(decoded.data);
    end_call(&call);
}

// The monitor.

static atomic_bool running;

/// The subscriptions of the one device that is announced.
static sd_bus_slot* subscriptions[3];

static sd_bus_slot* add_match(sd_bus* bus, const char* member, const char* path,
                              const char* interface, sd_bus_message_handler_t handler,
                              const char* word)
{
    char rule[512];
    snprintf(rule, sizeof rule, "type='signal',member='%s',path='%s',interface='%s',", member, path,
             interface);
    sd_bus_slot* slot = NULL;
    MUST(sd_bus_add_match(bus, &slot, rule, handler, (void*)(uintptr_t)word));
    return slot;
}

/// For what the client subscribes to and the benchmarks never send.
static int on_unexpected(sd_bus_message* message, void* userdata, sd_bus_error* error)
{
    (void)userdata;
    (void)error;
    expect(false, sd_bus_message_get_member(message));
    return 0;
}

static int on_device_error(sd_bus_message* message, void* userdata, sd_bus_error* error)
{
    (void)userdata;
    (void)error;
    const uint16_t code = read_u16(message);
    const char* path = sd_bus_message_get_path(message);
    for (size_t i = 0; i < devices.count; ++i)
        if (strcmp(devices.list[i].path, path) == 0)
            sayf("Received Error Signal for EID: %u", devices.list[i].eid);
    sayf("Error: %u", code);
    say("Error handler is completed.");
    return 0;
}

static void subscribe(sd_bus* bus, const char* path)
{
    say("subscribing to signals");
    subscriptions[0] = add_match(bus, "DeviceError", path, SERVICE, on_device_error, NULL);
    subscriptions[1] = add_match(bus, "CertificateProgress", path, SERVICE, on_unexpected, NULL);
    subscriptions[2] = add_match(bus, "PropertiesChanged", path, PROPERTIES, on_unexpected, NULL);
}

static int on_added(sd_bus_message* message, void* word, sd_bus_error* error)
{
    (void)error;
    sayf("Received Interface %s Signal.", (const char*)word);
    const char* path = read_text(message, 'o');
    uint16_t eid = 0;
    expect(read_eid(path, &eid), "a device's path bears a number");
    replace_device(eid, path);
    sayf("Object Added :%s", path);
    subscribe(sd_bus_message_get_bus(message), path);
    sayf("Interface  Added handler FOR %s is completed.", (const char*)word);
    return 0;
}

enum
{
    own_matches = 7
};

static void add_own_matches(sd_bus* bus, sd_bus_slot* slots[static own_matches])
{
    static const char cpu[] = ROOT "/cpu";
    static const char halc[] = ROOT "/halcController";
    static const char nic[] = ROOT "/nicController";
    static const char added[] = "InterfacesAdded";
    static const char removed[] = "InterfacesRemoved";
    slots[0] = add_match(bus, added, cpu, OBJECT_MANAGER, on_added, "CPU");
    slots[1] = add_match(bus, added, halc, OBJECT_MANAGER, on_added, "HALC");
    slots[2] = add_match(bus, added, nic, OBJECT_MANAGER, on_added, "NIC");
    slots[3] = add_match(bus, removed, cpu, OBJECT_MANAGER, on_unexpected, NULL);
    slots[4] = add_match(bus, removed, nic, OBJECT_MANAGER, on_unexpected, NULL);
    slots[5] = add_match(bus, removed, halc, OBJECT_MANAGER, on_unexpected, NULL);
    slots[6] = add_match(bus, "Info", ROOT "/info", SERVICE "Info", on_unexpected, NULL);
}

static void release(sd_bus_slot** slots, size_t count)
{
    while (count > 0)
        sd_bus_slot_unref(slots[--count]);
}

static void* watch(void* unused)
{
    (void)unused;
    enum
    {
        wait_us = 1000
    };
    sd_bus* bus = acquire_bus();
    sd_bus_slot* slots[own_matches];
    add_own_matches(bus, slots);
    while (running)
    {
        MUST(sd_bus_process(bus, NULL));
        MUST(sd_bus_wait(bus, wait_us));
    }
    release(subscriptions, 3);
    release(slots, own_matches);
    sd_bus_close_unref(bus);
    return NULL;
}

static void wait_for_stop(void)
{
    char answer[64];
    while (fgets(answer, sizeof answer, stdin))
        if (strcmp(answer, "-1\n") == 0)
            return;
}

// The modes: what the client prints for the input that stands beside each.

/// "4"
static void run_start(void)
{
    say("SPDM Client Start");
    say("Initialization successful");
    say("Available SPDM Supported Devices.");
    discover_devices();
    say_top_menu();
}

/// "2", an index beyond the table, "4"
static void run_table(void)
{
    run_start();
    say_device_table();
    say("Invalid device index selected.\nPlease try again...");
    say_top_menu();
}

/// "1", "4"
static void run_regression(void)
{
    run_start();
    for (size_t i = 0; i < devices.count; ++i)
    {
        const char* path = devices.list[i].path;
        sayf("Starting Regression for object%s", path);
        reauthenticate(path);
        get_certificate(path);
        get_certificate_properties(path);
        get_measurement(path);
        get_signed_measurement(path);
        say(DOTS_OF_88);
        say("");
    }
    put("\n");
    say_top_menu();
}

/// "2", "0": the first device.
static const char* choose_device(void)
{
    run_start();
    expect(devices.count != 0, "there are devices");
    say_device_table();
    sayf("Selected device: EID=%u", devices.list[0].eid);
    say_operations_menu();
    return devices.list[0].path;
}

/// "9", "4"
static void go_back(void)
{
    say_operations_menu();
    say_top_menu();
}

/// The questions before a measurement, answered "0", "255", "-1".
static void ask_what_to_measure(void)
{
    prompt("Please Enter Slot Number: ");
    say("Enter the indices of measurement block to fetch:");
    prompt("Enter the next value (enter -1 to stop): ");
}

/// "2", "0", "6", "0", "255", "-1", "9", "4"
static void run_measurement(void)
{
    const char* path = choose_device();
    ask_what_to_measure();
    get_measurement(path);
    go_back();
}

/// "2", "0", "7", "0", "255", "-1", "9", "4"
static void run_signed(void)
{
    const char* path = choose_device();
    ask_what_to_measure();
    get_signed_measurement(path);
    go_back();
}

/// "2", "0", "8", then "-1", "9", "4"; this mode alone reads its input, for the time of the "-1".
static void run_monitor(void)
{
    choose_device();
    say("Press -1 to stop monitoring");
    running = true;
    pthread_t thread;
    MUST(-pthread_create(&thread, NULL, watch, NULL));
    wait_for_stop();
    running = false;
    MUST(-pthread_join(thread, NULL));
    go_back();
}

static const struct
{
    const char* name;
    void (*run)(void);
} modes[] = {
    {"start", run_start},           {"table", run_table},     {"signed", run_signed},
    {"regression", run_regression}, {"monitor", run_monitor}, {"measurement", run_measurement},
};

int main(int argc, char** argv)
{
    for (size_t i = 0; argc == 2 && i < sizeof modes / sizeof *modes; ++i)
    {
        if (strcmp(modes[i].name, argv[1]) != 0)
            continue;
        modes[i].run();
        return EXIT_SUCCESS;
    }
    fprintf(stderr, "usage: %s start|table|regression|measurement|signed|monitor\n", argv[0]);
    return EXIT_FAILURE;
}
