#pragma once

#include "raw_bus.hpp"

#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>

/// Writes the body of a reply with raw sd-bus.
using Body = std::function<void(sd_bus_message*)>;

/// A body of these types; the values are such as sd_bus_message_append() takes.
template <typename... Values>
Body reply(const char* types, Values... values)
{
    return
        [=](sd_bus_message* message) { require(sd_bus_message_append(message, types, values...)); };
}

/// Replies by member; for Get by "Get " and the property. What is not there is refused by an error.
using Answers = std::map<std::string, Body>;

/// The service: raw sd-bus on a connection and a thread of its own.
class StandIn
{
  public:
    explicit StandIn(Answers answers) : answers(std::move(answers)), connection(open_raw_bus())
    {
        require(sd_bus_add_fallback(connection.get(), nullptr, "/", handle, this));
        require(sd_bus_request_name(connection.get(), "com.varn.bmc.spdm.spdm", 0));
        thread = std::thread{[this] { serve(); }};
    }

    ~StandIn()
    {
        stopping = true;
        thread.join();
    }

    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

  private:
    void serve()
    {
        while (!stopping)
        {
            if (sd_bus_process(connection.get(), nullptr) == 0)
            {
                sd_bus_wait(connection.get(), 2000);
            }
        }
    }

    static int handle(sd_bus_message* call, void* context, sd_bus_error*)
    {
        return static_cast<StandIn*>(context)->reply_to(call);
    }

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
    RawBus connection;
    std::thread thread;
    std::atomic<bool> stopping = false;
};
