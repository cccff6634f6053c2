#include "simulator/value.hpp"

#include <utility>

namespace simulator
{

Value bool_value(bool content)
{
    return {"b", content};
}

Value number_value(char type, std::uint64_t content)
{
    return {std::string(1, type), content};
}

Value text_value(std::string content)
{
    return {"s", std::move(content)};
}

Value path_value(std::string path)
{
    return {"o", std::move(path)};
}

Value bytes_value(Bytes content)
{
    return {"ay", std::move(content)};
}

Value struct_value(Body fields)
{
    auto signature = std::string("(").append(body_signature(fields)).append(")");
    return {std::move(signature), std::move(fields)};
}

Value variant_value(Value content)
{
    Body held;
    held.push_back(std::move(content));
    return {"v", std::move(held)};
}

Value array_value(const std::string& element, Body elements)
{
    return {"a" + element, std::move(elements)};
}

Value entry_value(Value key, Value content)
{
    std::string signature = "{" + key.signature + content.signature + "}";
    Body held;
    held.push_back(std::move(key));
    held.push_back(std::move(content));
    return {std::move(signature), std::move(held)};
}

Value properties_value(const Properties& properties)
{
    Body entries;
    entries.reserve(properties.size());
    for (const auto& [name, value] : properties)
    {
        entries.push_back(entry_value(text_value(name), variant_value(value)));
    }
    return array_value("{sv}", std::move(entries));
}

std::string body_signature(const Body& body)
{
    std::string signature;
    for (const Value& value : body)
    {
        signature += value.signature;
    }
    return signature;
}

std::uint64_t number_in(const Value& value)
{
    return std::get<std::uint64_t>(value.content);
}

const std::string& text_in(const Value& value)
{
    return std::get<std::string>(value.content);
}

const Body& elements_in(const Value& value)
{
    return std::get<Body>(value.content);
}

} // namespace simulator
