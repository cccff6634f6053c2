#pragma once

#include <systemd/sd-bus.h>

#include <exception>
#include <string>

namespace sdbusplus::exception
{

/// Base of the errors of the binding.
class exception : public std::exception
{
  public:
    /// D-Bus error name, for example "org.freedesktop.DBus.Error.ServiceUnknown".
    virtual const char* name() const noexcept = 0;
    /// The message that came with the error; empty when none did.
    virtual const char* description() const noexcept = 0;
    /// Positive error number.
    virtual int get_errno() const noexcept = 0;
};

/// A call into sd-bus that failed, or an error reply. Move-only, as it owns the error structure.
class SdBusError final : public exception
{
  public:
    /// `error` is an error number, `step` names what failed and begins what().
    SdBusError(int error, const char* step);
    /// Takes over the content of `error`, which is left unset.
    SdBusError(sd_bus_error* error, const char* step);

    SdBusError(SdBusError&& other) noexcept;
    SdBusError& operator=(SdBusError&& other) noexcept;
    SdBusError(const SdBusError&) = delete;
    SdBusError& operator=(const SdBusError&) = delete;
    ~SdBusError() override;

    const char* name() const noexcept override;
    const char* description() const noexcept override;
    int get_errno() const noexcept override;
    /// "STEP: NAME: DESCRIPTION"; a part that the error lacks is left out.
    const char* what() const noexcept override;

  private:
    void compose_text(const char* step);

    sd_bus_error content{};
    int number = 0;
    std::string text;
};

} // namespace sdbusplus::exception
