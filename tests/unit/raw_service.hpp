#pragma once

#include "raw_bus.hpp"

#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

/// Writes the body of a message with raw sd-bus.
using Body = std::function<void(sd_bus_message*)>;

/// A service by raw sd-bus, with its own connection and thread. The handler gets every call, on that thread;
/// whatever it uses must outlive the service.
class RawService
{
  public:
    using Handler = std::function<int(sd_bus_message* call)>;

    RawService(const char* name, Handler handler) : handler(std::move(handler)), bus(open_raw_bus())
    {
        require(sd_bus_add_fallback(bus.get(), nullptr, "/", handle, this));
        require(sd_bus_request_name(bus.get(), name, 0));
        thread = std::thread{[this] { serve(); }};
    }

    ~RawService()
    {
        stopping = true;
        thread.join();
    }

    RawService(const RawService&) = delete;
    RawService& operator=(const RawService&) = delete;

  private:
    void serve()
    {
        while (!stopping)
        {
            if (sd_bus_process(bus.get(), nullptr) == 0)
            {
                sd_bus_wait(bus.get(), 2000);
            }
        }
    }

    static int handle(sd_bus_message* call, void* context, sd_bus_error*)
    {
        return static_cast<RawService*>(context)->handler(call);
    }

    Handler handler;
    RawBus bus;
    std::thread thread;
    std::atomic<bool> stopping = false;
};
