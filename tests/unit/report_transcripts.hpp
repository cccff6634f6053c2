#pragma once

#include "report/judge/judge.hpp"
#include "report/model/words.hpp"
#include "report/reader/line_splitter.hpp"
#include "report/reader/transcript_reader.hpp"

#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// Transcripts for the tests of the reader and the judge: the client's texts, typed out.
namespace report_test
{

inline std::vector<report::Run> runs_of(std::string_view text)
{
    std::vector<report::Run> runs;
    report::TranscriptReader reader([&](report::Run&& run) { runs.push_back(std::move(run)); });
    report::LineSplitter splitter;
    const auto take = [&](std::string_view line, std::uint64_t bytes) { reader.line(line, bytes); };
    splitter.feed(text, take);
    splitter.finish(take);
    reader.finish();
    return runs;
}

/// The only run of `text`.
inline report::Run run_of(std::string_view text)
{
    auto runs = runs_of(text);
    EXPECT_EQ(runs.size(), 1U);
    return runs.empty() ? report::Run{} : std::move(runs.front());
}

inline const std::string banner = "SPDM Client Start\n"
                                  "Initialization successful\n"
                                  "Available SPDM Supported Devices.\n";

inline const std::string top_menu = "1: Regression Test\n"
                                    "2: Normal Test\n"
                                    "3: Measurement Test Suite\n"
                                    "4: Exit \n"
                                    "Please Choose the option:\n";

inline const std::string operations_menu = "1: ReAuthenticate\n"
                                           "2: GetCertficate\n"
                                           "3: GetCertificateProperties\n"
                                           "4: GetAll Properties\n"
                                           "5: Recurring ReAuthenticate\n"
                                           "6: GetMeasurement \n"
                                           "7: GetSignedMeasurement \n"
                                           "8: Monitor Signals\n"
                                           "9: Go Back \n"
                                           "Please Choose the option:\n";

inline const std::string cpu_path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";
inline const std::string nic_path = "/com/varn/bmc/spdm/spdm/nicController/nic_40";

inline const std::string table_head =
    "\nDiscovered SPDM Devices:\n"
    "Index | EID  | XMID            | D-Bus Path\n"
    "------|------|-----------------|------------------------------------------\n";

/// Two devices, EIDs 12 and 40.
inline const std::string device_table = "Available SPDM objects:\n"
                                        "1: " +
                                        cpu_path + "\n2: " + nic_path + "\n\n" + table_head +
                                        "    0 |   12 |          CPU-12 | " + cpu_path +
                                        "\n"
                                        "    1 |   40 |          NIC-40 | " +
                                        nic_path +
                                        "\n"
                                        "    2 |  ALL | Run on all objects\n"
                                        "\nChoose the device index (0-2): \n";

/// What the operations on the device with EID 12 print, and where they stop.
inline std::string operations_begin(const std::string& said)
{
    return banner + top_menu + device_table + "Selected device: EID=12\n" + operations_menu + said;
}

/// A whole conversation: one operation on the device with EID 12 prints `said`.
inline std::string operation(const std::string& said)
{
    return operations_begin(said) + operations_menu + top_menu;
}

/// A whole conversation whose top-level menu was answered once.
inline std::string activity(const std::string& said)
{
    return banner + top_menu + said + top_menu;
}

inline const std::string dots = std::string(88, '.') + "\n\n";

inline std::string replaced(std::string text, std::string_view old, std::string_view by)
{
    for (auto at = text.find(old); at != std::string::npos; at = text.find(old, at + by.size()))
    {
        text.replace(at, old.size(), by);
    }
    return text;
}

/// A transcript of the tree, with a time and a nonce where these differ from run to run.
inline std::string transcript(const std::string& name)
{
    std::ifstream file(std::string(TRANSCRIPTS) + "/" + name + "/expected.txt");
    EXPECT_TRUE(file.is_open()) << name;
    std::stringstream text;
    text << file.rdbuf();
    auto read = replaced(text.str(), "<us>", "151");
    for (const auto* nonce : {"<NONCE>", "<nonce>"})
    {
        read = replaced(std::move(read), nonce, std::string(64, '5'));
    }
    return read;
}

using Texts = std::vector<std::string>;

template <std::integral Number>
std::string text_of(Number number)
{
    return std::to_string(number);
}

inline std::string text_of(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

inline std::string text_of(const std::vector<std::uint16_t>& numbers)
{
    std::string text = "[";
    for (const auto number : numbers)
    {
        text += (text.size() == 1 ? "" : " ") + std::to_string(number);
    }
    return text + "]";
}

/// " name=value", or nothing.
template <typename Value>
std::string field(const char* name, const std::optional<Value>& value)
{
    return value ? ' ' + std::string(name) + '=' + text_of(*value) : std::string();
}

inline std::string eid_of(const report::Run& run, report::Index device)
{
    if (device == report::none)
    {
        return "-";
    }
    const auto eid = run.devices.at(device).eid;
    return eid ? std::to_string(*eid) : "?";
}

inline std::string hex(std::string_view bytes)
{
    std::string text;
    for (const auto character : bytes)
    {
        constexpr std::string_view digits = "0123456789abcdef";
        const auto byte = static_cast<unsigned char>(character);
        text += {digits[byte >> 4U], digits[byte & 15U]};
    }
    return text;
}

/// "12 ReAuthenticate answered status=1 us=151": the device's EID first, then what is known.
inline Texts calls_of(const report::Run& run)
{
    Texts texts;
    for (const auto& call : run.calls)
    {
        const auto operation = word(call.operation);
        auto text = eid_of(run, call.device) + ' ' +
                    std::string(operation.empty() ? "?" : operation) + ' ' +
                    std::string(word(call.outcome)) + field("status", call.status) +
                    field("us", call.microseconds) + field("count", call.count) +
                    field("path", call.certificate_path) + field("slot", call.slot) +
                    field("indices", call.indices) + field("nonce", call.nonce);
        texts.push_back(call.slot_discovery ? text + " slots" : text);
    }
    return texts;
}

inline Texts measurements_of(const report::Run& run)
{
    Texts texts;
    for (const auto& block : run.measurements)
    {
        texts.push_back(eid_of(run, block.device) + " call " + std::to_string(block.call) +
                        " index " + std::to_string(block.index) + " algorithm " +
                        std::to_string(block.algorithm) + " type " + std::to_string(block.type) +
                        " size " + std::to_string(block.size) + ": " + hex(block.value));
    }
    return texts;
}

inline Texts signed_of(const report::Run& run)
{
    Texts texts;
    const auto bytes = [](const char* name, const std::optional<std::string_view>& value) {
        return value ? std::string(name) + hex(*value) : std::string();
    };
    for (const auto& found : run.signed_measurements)
    {
        texts.push_back(
            eid_of(run, found.device) + ' ' + std::string(word(found.structure)) + " \"" +
            std::string(found.hashing_algorithm) + "\" \"" + std::string(found.signing_algorithm) +
            "\" \"" + std::string(found.version) + '"' + field("size", found.size) +
            field("signature_size", found.signature_size) +
            bytes(" measurement=", found.measurement) + bytes(" signature=", found.signature));
    }
    return texts;
}

inline Texts signals_of(const report::Run& run)
{
    Texts texts;
    for (const auto& signal : run.signals)
    {
        auto text = std::to_string(signal.line) + ' ' + eid_of(run, signal.device) + ' ' +
                    std::string(signal.signal);
        if (const auto* number = std::get_if<std::uint64_t>(&signal.value))
        {
            text += ' ' + std::to_string(*number);
        }
        if (const auto* value = std::get_if<std::string_view>(&signal.value))
        {
            text += ' ' + text_of(*value);
        }
        texts.push_back(text + field("name", signal.name));
    }
    return texts;
}

inline Texts devices_of(const report::Run& run)
{
    Texts texts;
    for (const auto& device : run.devices)
    {
        texts.push_back((device.eid ? std::to_string(*device.eid) : "?") + ' ' +
                        std::string(device.path) + field("xmid", device.xmid) +
                        field("index", device.index) + field("device_eid", device.device_eid));
    }
    return texts;
}

inline Texts properties_of(const report::Run& run)
{
    Texts texts;
    for (const auto& property : run.properties)
    {
        texts.push_back(eid_of(run, property.device) + ' ' + std::string(property.name) + '=' +
                        std::string(property.value));
    }
    return texts;
}

inline Texts contradictions_of(const report::Run& run)
{
    Texts texts;
    for (const auto& found : run.contradictions)
    {
        texts.push_back(found.text);
    }
    return texts;
}

inline Texts notes_of(const report::Run& run)
{
    Texts texts;
    for (const auto& note : run.notes)
    {
        texts.emplace_back(note.text);
    }
    return texts;
}

/// The checks that did not pass: "error call ReAuthenticate: its result is missing".
inline Texts findings_of(const report::Run& run)
{
    Texts texts;
    for (const auto& check : judge(run).checks)
    {
        if (check.verdict != report::Verdict::passed)
        {
            texts.push_back(std::string(word(check.verdict)) + ' ' + check.what + ": " +
                            check.reason);
        }
    }
    return texts;
}

} // namespace report_test
