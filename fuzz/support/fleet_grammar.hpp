#pragma once

#include "fuzz/support/byte_source.hpp"

#include <string>
#include <string_view>

/// Writes fleets and commands by their grammar; bytes choose among its alternatives. About one name,
/// number or signature in sixteen breaks the grammar. Zeros choose the first and shortest.
class FleetGrammar
{
  public:
    explicit FleetGrammar(ByteSource& source) : source(source) {}

    std::string fleet();
    std::string command();

  private:
    bool flaw();
    std::size_t up_to(std::size_t most);
    std::string_view pick(std::initializer_list<std::string_view> choices);
    std::string repeat(std::size_t most, std::string (FleetGrammar::*write)());
    std::string quoted(std::string_view text);

    std::string name_element();
    std::string dotted_name();
    std::string member_name();
    std::string path();
    std::string text();

    std::string type(int depth);
    std::string number_of(char type);
    std::string value_of(std::string_view& signature, int depth);
    std::string elements_of(std::string_view& signature, int depth);
    std::string typed();
    std::string body();

    std::string property();
    std::string properties();
    std::string interfaces_entry();
    std::string block();
    std::string signing();
    std::string rule();
    std::string method_rules();
    std::string device();
    std::string event();
    std::string member_of_fleet();

    ByteSource& source;
};
