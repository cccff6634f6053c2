#include "simulator/signature.hpp"

#include <stdexcept>

namespace simulator
{

namespace
{

// The limits of the D-Bus wire format.
constexpr std::size_t longest_signature = 255;
constexpr int deepest_nesting = 32;

struct Depth
{
    int arrays = 0;
    int structures = 0;
};

[[noreturn]] void refuse(std::string_view signature, const std::string& why)
{
    throw std::invalid_argument("\"" + std::string(signature) + "\" is no valid signature: " + why);
}

bool is_basic(char type)
{
    return std::string_view("ybnqiuxtdsog").find(type) != std::string_view::npos;
}

/// Walks one signature from left to right, one complete type at a time.
class Walker
{
  public:
    explicit Walker(std::string_view signature) : signature(signature) {}

    bool at_end() const
    {
        return position == signature.size();
    }

    std::string next_complete_type()
    {
        const std::size_t start = position;
        skip_type({});
        return std::string(signature.substr(start, position - start));
    }

  private:
    char take(const std::string& expectation)
    {
        if (at_end())
        {
            refuse(signature, expectation);
        }
        return signature[position++];
    }

    bool take_if(char type)
    {
        const bool here = !at_end() && signature[position] == type;
        position += here ? 1 : 0;
        return here;
    }

    void skip_type(Depth depth)
    {
        if (depth.arrays > deepest_nesting || depth.structures > deepest_nesting)
        {
            refuse(signature, "it nests too deeply");
        }
        const char type = take("a type is missing at its end");
        if (type == 'a')
        {
            skip_element({depth.arrays + 1, depth.structures});
        }
        else if (type == '(')
        {
            skip_structure({depth.arrays, depth.structures + 1});
        }
        else if (type != 'v' && !is_basic(type))
        {
            refuse(signature, std::string("'") + type + "' is no type here");
        }
    }

    void skip_element(Depth depth)
    {
        if (!take_if('{'))
        {
            skip_type(depth);
            return;
        }
        if (!is_basic(take("a dictionary's key type is missing")))
        {
            refuse(signature, "a dictionary's key has a basic type");
        }
        skip_type({depth.arrays, depth.structures + 1});
        if (!take_if('}'))
        {
            refuse(signature, "a dictionary entry holds two types and ends with '}'");
        }
    }

    void skip_structure(Depth depth)
    {
        do
        {
            skip_type(depth);
        }
        while (!take_if(')'));
    }

    std::string_view signature;
    std::size_t position = 0;
};

} // namespace

std::vector<std::string> complete_types(std::string_view signature)
{
    if (signature.size() > longest_signature)
    {
        refuse(signature, "it is longer than 255 characters");
    }
    std::vector<std::string> types;
    for (Walker walker(signature); !walker.at_end();)
    {
        types.push_back(walker.next_complete_type());
    }
    return types;
}

} // namespace simulator
