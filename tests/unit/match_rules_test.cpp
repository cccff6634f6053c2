#include "monitor/match_rules.hpp"

#include <gtest/gtest.h>

namespace
{

TEST(MatchRules, HaveTheirPieces)
{
    EXPECT_EQ(match_rules::member("Info"), "member='Info',");
    EXPECT_EQ(match_rules::path("/a/b"), "path='/a/b',");
    EXPECT_EQ(match_rules::interface("a.b"), "interface='a.b',");
}

TEST(MatchRules, AreAssembledInTheirOrder)
{
    EXPECT_EQ(match_rules::signal("InterfacesAdded", "/com/varn/bmc/spdm/spdm/cpu",
                                  "org.freedesktop.DBus.ObjectManager"),
              "type='signal',member='InterfacesAdded',path='/com/varn/bmc/spdm/spdm/cpu',"
              "interface='org.freedesktop.DBus.ObjectManager',");
}

TEST(MatchRules, TakeTextsAsTheyAre)
{
    EXPECT_EQ(match_rules::path("/it's"), "path='/it's',");
    EXPECT_EQ(match_rules::path(""), "path='',");
}

} // namespace
