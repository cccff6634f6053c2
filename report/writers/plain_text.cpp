#include "report/writers/plain_text.hpp"

#include "report/writers/utf8.hpp"

namespace report
{

namespace
{

/// `character` is valid UTF-8.
bool is_forbidden_in_xml(std::string_view character)
{
    const auto lead = static_cast<unsigned char>(character.front());
    return (lead < 0x20 && lead != '\t' && lead != '\n' && lead != '\r') ||
           character == "\xef\xbf\xbe" || character == "\xef\xbf\xbf"; // U+FFFE, U+FFFF
}

} // namespace

std::string plain_text(std::string_view text, std::size_t longest)
{
    std::string plain;
    std::size_t end_of_excerpt = 0;
    for (std::size_t characters = 1; !text.empty(); ++characters)
    {
        if (characters == longest)
        {
            end_of_excerpt = plain.size();
        }
        else if (characters > longest)
        {
            plain.resize(end_of_excerpt);
            return plain + "…";
        }
        const auto [size, valid] = first_character(text);
        const auto character = text.substr(0, size);
        plain += valid && !is_forbidden_in_xml(character) ? character : replacement_character;
        text.remove_prefix(size);
    }
    return plain;
}

} // namespace report
