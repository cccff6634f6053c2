#include "fuzz/support/fleet_grammar.hpp"

#include <array>

namespace
{

constexpr std::size_t deepest = 70;

} // namespace

bool FleetGrammar::flaw()
{
    return source.byte() >= 240;
}

std::size_t FleetGrammar::up_to(std::size_t most)
{
    return source.byte() % (most + 1);
}

std::string_view FleetGrammar::pick(std::initializer_list<std::string_view> choices)
{
    return choices.begin()[up_to(choices.size() - 1)];
}

std::string FleetGrammar::repeat(std::size_t most, std::string (FleetGrammar::*write)())
{
    std::string all;
    for (std::size_t rest = up_to(most); rest > 0; --rest)
    {
        all += (all.empty() ? "" : ", ") + (this->*write)();
    }
    return all;
}

std::string FleetGrammar::quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

std::string FleetGrammar::name_element()
{
    std::string element(pick({"a", "B", "_", "cpu_12", "spdm", "z9"}));
    if (flaw())
    {
        element = pick({"9x", "", "a-b", "a b", "\\u0000", "a\\u0000", "\xc3\xa4", "org"});
    }
    return flaw() ? std::string(source.byte(), 'n') : element;
}

std::string FleetGrammar::dotted_name()
{
    if (flaw())
    {
        return std::string(pick({"org.freedesktop.DBus.Local", "com.varn.bmc.spdm.spdm", "a", ""}));
    }
    std::string name = name_element();
    for (std::size_t rest = 1 + up_to(3); rest > 0; --rest)
    {
        name += "." + name_element();
    }
    return name;
}

std::string FleetGrammar::member_name()
{
    return name_element();
}

std::string FleetGrammar::path()
{
    if (flaw())
    {
        return std::string(pick({"/", "/org/freedesktop/DBus/Local", "a", "/a/", "//"}));
    }
    std::string path(pick({"/com/varn/bmc/spdm/spdm/cpu", "/com/varn/bmc/spdm/spdm/nicController",
                           "/com/varn/bmc/spdm/spdm/halcController", ""}));
    for (std::size_t rest = 1 + up_to(2); rest > 0; --rest)
    {
        path += "/" + name_element();
    }
    return path;
}

std::string FleetGrammar::text()
{
    return quoted(pick({"", "x", "00ff", "two words", "\\u00e4", "\\ud83d\\udd10", "\\\"",
                        "a\\u0000b", "\\ufffe", "\xff", "\\ud800"}));
}

std::string FleetGrammar::type(int depth)
{
    if (flaw())
    {
        return std::string(pick({"h", "a", "()", "a{vs}", "{sv}", "a{s}", "z", ""}));
    }
    const std::size_t choice = up_to(depth > 40 ? 13 : 17);
    switch (choice)
    {
        case 14: return "a" + type(depth + 1);
        case 15: return "(" + type(depth + 1) + (flaw() ? "" : type(depth + 1)) + ")";
        case 16: return "a{" + std::string(pick({"s", "q", "o", "v"})) + type(depth + 1) + "}";
        case 17: return "ay";
        default: return std::string(1, "ybnqiuxtdsogvv"[choice]);
    }
}

std::string FleetGrammar::number_of(char type)
{
    constexpr std::string_view types = "ynqiuxt";
    constexpr std::array lowest{"0", "-32768", "0", "-2147483648", "0", "-9223372036854775808",
                                "0"};
    constexpr std::array highest{"255",
                                 "32767",
                                 "65535",
                                 "2147483647",
                                 "4294967295",
                                 "9223372036854775807",
                                 "18446744073709551615"};
    if (flaw())
    {
        return std::string(pick({"-1", "256", "65536", "1e999", "1.5", "-9223372036854775809",
                                 "18446744073709551616"}));
    }
    const std::size_t row = types.find(type);
    return std::string(pick({"0", lowest[row], highest[row]}));
}

std::string FleetGrammar::elements_of(std::string_view& signature, int depth)
{
    const std::string_view element = signature;
    if (flaw())
    {
        return R"({"repeat": )" + value_of(signature, depth) + R"(, "times": )" +
               std::string(pick({"0", "1", "300", "99999999999", "-1"})) + "}";
    }
    std::string all;
    for (std::size_t rest = 1 + up_to(2); rest > 0; --rest)
    {
        signature = element;
        all += (all.empty() ? "" : ", ") + value_of(signature, depth);
    }
    return "[" + (flaw() ? "" : all) + "]";
}

/// Takes one complete type from the signature. Of a signature that is none anything may become.
std::string FleetGrammar::value_of(std::string_view& signature, int depth)
{
    if (signature.empty() || depth > static_cast<int>(deepest))
    {
        return "0";
    }
    const char type = signature.front();
    signature.remove_prefix(1);
    switch (type)
    {
        case 'b': return std::string(pick({"true", "false", "0"}));
        case 'd': return std::string(pick({"0", "1.5", "-1e-300", "1e999"}));
        case 's': return text();
        case 'o': return quoted(path());
        case 'g': return quoted(this->type(0));
        case 'v':
        {
            const std::string held = this->type(depth);
            std::string_view rest = held;
            return "[" + quoted(held) + ", " + value_of(rest, depth + 1) + "]";
        }
        case 'a':
            if (signature.starts_with('y') && source.byte() % 2 == 1)
            {
                signature.remove_prefix(1);
                return std::string(pick({R"("00ff")", R"({"repeat": "0a", "times": 5})", R"("0")",
                                         R"({"repeat": 7, "times": 4})"}));
            }
            return elements_of(signature, depth + 1);
        case '(':
        case '{':
        {
            std::string fields;
            while (!signature.empty() && !signature.starts_with(')') && !signature.starts_with('}'))
            {
                fields += (fields.empty() ? "" : ", ") + value_of(signature, depth + 1);
            }
            signature.remove_prefix(signature.empty() ? 0 : 1);
            return "[" + fields + "]";
        }
        default:
            return std::string_view("ynqiuxt").find(type) == std::string_view::npos
                       ? "0"
                       : number_of(type);
    }
}

std::string FleetGrammar::typed()
{
    // Nested variants as deep as the bytes say.
    const std::size_t variants = flaw() ? up_to(deepest) : 0;
    const std::string held = type(0);
    std::string_view rest = held;
    std::string typed = "[" + quoted(held) + ", " + value_of(rest, 0) + "]";
    for (std::size_t i = 0; i < variants; ++i)
    {
        typed = R"(["v", )" + typed + "]";
    }
    return typed;
}

std::string FleetGrammar::body()
{
    std::string signature;
    for (std::size_t rest = up_to(3); rest > 0; --rest)
    {
        signature += type(0);
    }
    std::string all = "[" + quoted(signature);
    std::string_view rest = signature;
    while (!rest.empty())
    {
        all += ", " + value_of(rest, 0);
    }
    return all + "]";
}

std::string FleetGrammar::property()
{
    return quoted(
               pick({"XMID", "DeviceEID", "Measurement", "NumMeasurements", "a b", "p\\u0000"})) +
           ": " + (flaw() ? "null" : typed());
}

std::string FleetGrammar::properties()
{
    return "{" + repeat(3, &FleetGrammar::property) + "}";
}

std::string FleetGrammar::interfaces_entry()
{
    return quoted(dotted_name()) + ": " + properties();
}

std::string FleetGrammar::block()
{
    return R"({"index": )" + number_of('q') + R"(, "data": )" +
           std::string(pick({R"("00ff")", "[0, 255]", R"("0")"})) + R"(, "algorithm": )" +
           number_of('u') + R"(, "type": )" + number_of('q') + "}";
}

std::string FleetGrammar::signing()
{
    return "{" +
           std::string(pick({R"("algorithm": "ED25519")", R"("algorithm": "RSA-1")",
                             R"("hashing": "SHA-256")", R"("version": "1.3")", R"("version": 1)",
                             R"("key": "no-such-key.pem")"})) +
           "}";
}

std::string FleetGrammar::rule()
{
    const std::string selector(
        pick({"", R"("slot": 1, )", R"("indices": [1, 255], )", R"("nonce": "x", )",
              R"("property": "XMID", )", R"("call": 2, )", R"("call": [1, 3], )",
              R"("call": {"from": 2, "every": 3}, )", R"("call": 0, )"}));
    switch (up_to(5))
    {
        case 0: return "{" + selector + R"("reply": )" + body() + "}";
        case 1: return "{" + selector + R"("error": [")" + dotted_name() + "\", " + text() + "]}";
        case 2: return "{" + selector + R"("cut": )" + number_of('y') + "}";
        case 3: return "{" + selector + R"("no_reply": true})";
        case 4: return "{" + selector + R"("disconnect": true, "delay_ms": 1})";
        default: return "{" + selector + R"("delay_ms": )" + number_of('u') + "}";
    }
}

std::string FleetGrammar::method_rules()
{
    return quoted(pick({"GetMeasurement", "GetSignedMeasurement", "Get", "GetAll", "Set"})) +
           ": [" + repeat(2, &FleetGrammar::rule) + "]";
}

std::string FleetGrammar::device()
{
    std::string all = R"({"path": )" + quoted(path());
    const std::size_t members = source.byte();
    const auto add = [&](unsigned bit, const std::string& name, auto write) {
        all += (members >> bit & 1U) != 0 ? ", " + quoted(name) + ": " + write() : "";
    };
    add(0, "properties", [&] { return properties(); });
    add(1, "interfaces", [&] { return "{" + repeat(2, &FleetGrammar::interfaces_entry) + "}"; });
    add(2, "preset", [&] { return quoted(pick({"cpu", "nic", "halc", "bare", "gpu"})); });
    add(3, "measurements", [&] { return "[" + repeat(2, &FleetGrammar::block) + "]"; });
    add(4, "signing", [&] { return signing(); });
    add(5, "methods", [&] { return "{" + repeat(2, &FleetGrammar::method_rules) + "}"; });
    add(6, "authentication", [&] { return number_of('u'); });
    add(7, std::string(pick({"path", "propertys"})), [&] { return text(); });
    return all + "}";
}

std::string FleetGrammar::event()
{
    const std::string lead =
        "{" + std::string(pick({"", R"("at_ms": 5, )", R"("times": 3, )", R"("times": -1, )"}));
    switch (up_to(3))
    {
        case 0:
            return lead + R"("signal": [")" + path() + "\", " + quoted(dotted_name()) + ", " +
                   quoted(member_name()) + ", " + body() + "]}";
        case 1: return lead + R"("set": [")" + path() + "\", " + text() + ", " + typed() + "]}";
        case 2: return lead + R"("remove": ")" + path() + "\"}";
        default: return lead + R"("add": )" + device() + "}";
    }
}

std::string FleetGrammar::member_of_fleet()
{
    switch (up_to(3))
    {
        case 0: return R"("devices": [)" + repeat(3, &FleetGrammar::device) + "]";
        case 1: return R"("signals": [)" + repeat(4, &FleetGrammar::event) + "]";
        case 2: return R"("methods": {"GetManagedObjects": )" + rule() + "}";
        default: return R"("service": )" + quoted(pick({"present", "absent", "gone"}));
    }
}

std::string FleetGrammar::fleet()
{
    std::string all = repeat(3, &FleetGrammar::member_of_fleet);
    return "{" + all + (flaw() ? "" : "}");
}

std::string FleetGrammar::command()
{
    switch (up_to(8))
    {
        case 0:
        {
            std::string line = "signal " + path() + " " + dotted_name() + " " + member_name() + " ";
            const std::string signature = type(0) + (flaw() ? type(0) : "");
            line += signature;
            std::string_view rest = signature;
            while (!rest.empty())
            {
                line += " " + value_of(rest, 0);
            }
            return line;
        }
        case 1:
        {
            const std::string held = type(0);
            std::string_view rest = held;
            return "set " + path() + " " + member_name() + " " + held + " " + value_of(rest, 0);
        }
        case 2: return "add " + device();
        case 3:
            return "add " + path() +
                   std::string(pick({"", " cpu", " nic", " bare", " gpu", " cpu x"}));
        case 4: return "remove " + path();
        case 5:
            return std::string(pick({"error ", "progress ", "flood "})) + path() + " " +
                   number_of('q');
        case 6: return "info " + number_of('u');
        case 7: return "set " + path() + " XMID " + source.text();
        default:
            return std::string(
                pick({"play", "drop", "own", "disconnect", "help", "quit", "", "play 3"}));
    }
}
