#include <sdbusplus/detail/check.hpp>
#include <sdbusplus/exception.hpp>

#include <cstdlib>
#include <utility>

namespace sdbusplus::exception
{

SdBusError::SdBusError(int error, const char* step) : number(std::abs(error))
{
    sd_bus_error_set_errno(&content, number);
    compose_text(step);
}

SdBusError::SdBusError(sd_bus_error* error, const char* step)
{
    sd_bus_error_move(&content, error);
    number = sd_bus_error_get_errno(&content);
    compose_text(step);
}

SdBusError::SdBusError(SdBusError&& other) noexcept
    : number(other.number), text(std::move(other.text))
{
    sd_bus_error_move(&content, &other.content);
}

SdBusError& SdBusError::operator=(SdBusError&& other) noexcept
{
    if (this == &other)
    {
        return *this;
    }
    sd_bus_error_free(&content);
    sd_bus_error_move(&content, &other.content);
    number = other.number;
    text = std::move(other.text);
    return *this;
}

SdBusError::~SdBusError()
{
    sd_bus_error_free(&content);
}

const char* SdBusError::name() const noexcept
{
    return content.name != nullptr ? content.name : "";
}

const char* SdBusError::description() const noexcept
{
    return content.message != nullptr ? content.message : "";
}

int SdBusError::get_errno() const noexcept
{
    return number;
}

const char* SdBusError::what() const noexcept
{
    return text.c_str();
}

void SdBusError::compose_text(const char* step)
{
    text = step;
    for (const char* part : {content.name, content.message})
    {
        if (part != nullptr)
        {
            text.append(": ").append(part);
        }
    }
}

} // namespace sdbusplus::exception

namespace sdbusplus::detail
{

void throw_error(int result, const char* step)
{
    throw exception::SdBusError(-result, step);
}

} // namespace sdbusplus::detail
