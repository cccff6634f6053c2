#pragma once

#include "raw_service.hpp"

#include <systemd/sd-bus.h>

#include <map>
#include <string>
#include <utility>

/// A body of these types; the values are such as sd_bus_message_append() takes.
template <typename... Values>
Body reply(const char* types, Values... values)
{
    return
        [=](sd_bus_message* message) { require(sd_bus_message_append(message, types, values...)); };
}

/// Replies by member; for Get by "Get " and the property. Other calls get an error.
using Answers = std::map<std::string, Body>;

/// The service, as the client sees it.
class StandIn
{
  public:
    explicit StandIn(Answers answers) : answers(std::move(answers)) {}

  private:
    int reply_to(sd_bus_message* call)
    {
        const auto answer = answers.find(key_of(call));
        if (answer == answers.end())
        {
            return sd_bus_reply_method_errorf(call, "test.Error.Refused", "not %s", "today");
        }
        sd_bus_message* created = nullptr;
        require(sd_bus_message_new_method_return(call, &created));
        const RawMessage message{created};
        answer->second(message.get());
        return sd_bus_send(nullptr, message.get(), nullptr);
    }

    static std::string key_of(sd_bus_message* call)
    {
        const std::string member = sd_bus_message_get_member(call);
        if (member != "Get")
        {
            return member;
        }
        const char* interface = nullptr;
        const char* property = nullptr;
        require(sd_bus_message_read(call, "ss", &interface, &property));
        return member + " " + property;
    }

    Answers answers;
    RawService service{"com.varn.bmc.spdm.spdm",
                       [this](sd_bus_message* call) { return reply_to(call); }};
};
