#include "simulator/names.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace simulator;

/// A name of this size with a dot in it.
std::string dotted(std::size_t size)
{
    return "a." + std::string(size - 2, 'b');
}

TEST(Names, OfObjectPaths)
{
    for (const char* good : {"/", "/a", "/9", "/_/A9"})
    {
        EXPECT_TRUE(is_object_path(good)) << good;
    }
    EXPECT_TRUE(is_object_path("/" + std::string(300, 'a')));
    for (const char* bad : {"", "a", "//", "/a/", "/a//b", "/a-b", "/a.b", "/\xc3\xa4"})
    {
        EXPECT_FALSE(is_object_path(bad)) << bad;
    }
    EXPECT_FALSE(is_object_path(std::string("/a\0b", 4)));
}

TEST(Names, OfInterfacesAndErrors)
{
    for (const auto is_name : {is_interface_name, is_error_name})
    {
        for (const std::string& good : {std::string("a.b"), std::string("_.B9._c"), dotted(255)})
        {
            EXPECT_TRUE(is_name(good)) << good;
        }
        for (const std::string& bad :
             {std::string(), std::string("a"), std::string("a..b"), std::string(".a.b"),
              std::string("a.b."), std::string("9a.b"), std::string("a.9b"), std::string("a.b-c"),
              std::string("a b.c"), std::string("a.\xc3\xa4"), std::string("a.b\0c", 5),
              dotted(256)})
        {
            EXPECT_FALSE(is_name(bad)) << bad;
        }
    }
}

TEST(Names, OfMembers)
{
    for (const std::string& good : {std::string("a"), std::string("_9"), std::string(255, 'b')})
    {
        EXPECT_TRUE(is_member_name(good)) << good;
    }
    for (const std::string& bad :
         {std::string(), std::string("9x"), std::string("0"), std::string("a.b"),
          std::string("a-b"), std::string("a b"), std::string("\xc3\xa4"), std::string("a\0b", 3),
          std::string(256, 'b')})
    {
        EXPECT_FALSE(is_member_name(bad)) << bad;
    }
}

TEST(Texts, HaveNoZeroAndNoNoncharacters)
{
    EXPECT_EQ(flaw_in_text(std::string("a\0", 2)), "cannot hold the character U+0000");
    for (const char* bad : {"\ufdd0", "a\ufdefb", "\ufffe", "\uffff", "\U0001fffe", "\U0010ffff"})
    {
        EXPECT_EQ(flaw_in_text(bad), "cannot hold a noncharacter, U+FFFE for instance") << bad;
    }
    for (const char* good : {"", "a", "\ufdcf", "\ufdf0", "\ufffd", "\U0001fffd", "\U00010000",
                             "\u0fff\u00ff", "\u3fff", "\u7ffe"})
    {
        EXPECT_EQ(flaw_in_text(good), "") << good;
    }
}

TEST(Names, ThatTheBusReserves)
{
    EXPECT_TRUE(is_reserved("/org/freedesktop/DBus/Local"));
    EXPECT_TRUE(is_reserved("org.freedesktop.DBus.Local"));
    EXPECT_FALSE(is_reserved("/org/freedesktop/DBus"));
    EXPECT_FALSE(is_reserved("org.freedesktop.DBus"));
}

} // namespace
