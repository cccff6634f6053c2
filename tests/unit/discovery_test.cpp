#include "name_of.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

class Discovery : public testing::Test
{
  protected:
    ~Discovery() override
    {
        while (!discovered_objects.empty())
        {
            erase_device(discovered_objects.begin()->first);
        }
    }
};

struct PathCase
{
    std::string name;
    std::string path;
    std::optional<Eid> eid;
};

std::ostream& operator<<(std::ostream& out, const PathCase& path)
{
    return out << path.path;
}

class EidFromPath : public testing::TestWithParam<PathCase>
{
};

TEST_P(EidFromPath, IsTheNumberInTheLastElement)
{
    EXPECT_EQ(eid_from_path(GetParam().path), GetParam().eid);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, EidFromPath,
    testing::Values(PathCase{"Underscore", "/com/varn/bmc/spdm/spdm/cpu/device_7", 7},
                    PathCase{"NoUnderscore", "/com/varn/bmc/spdm/spdm/cpu/cpu7", 7},
                    PathCase{"NumberAlone", "/12", 12}, PathCase{"LeadingZeros", "/dev/x007", 7},
                    PathCase{"TrailingText", "/com/dev12a", 12},
                    PathCase{"FirstNumberCounts", "/com/dev12_34", 12},
                    PathCase{"MinusIsNoPartOfIt", "/com/dev-5", 5},
                    PathCase{"NoDigit", "/com/varn/bmc/spdm/spdm/nic", std::nullopt},
                    PathCase{"DigitsOnlyBefore", "/cpu1/socket", std::nullopt},
                    PathCase{"EmptyTail", "/com/dev12/", std::nullopt},
                    PathCase{"NoSlash", "device_7", std::nullopt},
                    PathCase{"Empty", "", std::nullopt},
                    PathCase{"Greatest16Bit", "/x65535", 65535},
                    PathCase{"Truncated", "/x70000", 4464},
                    PathCase{"TruncatedToZero", "/x65536", 0},
                    PathCase{"Greatest32Bit", "/x2147483647", 65535}),
    name_of);

TEST(EidFromPathRange, BeyondTheSigned32BitsIsAnError)
{
    for (const auto* path : {"/x2147483648", "/x99999999999999999999"})
    {
        try
        {
            eid_from_path(path);
            ADD_FAILURE() << path << " was taken";
        }
        catch (const std::out_of_range& error)
        {
            EXPECT_STREQ(error.what(), "stoi");
        }
    }
}

TEST_F(Discovery, ALaterPathReplacesAnEarlierOne)
{
    enter_device(7, "/a/cpu7");
    enter_device(7, "/a/device_7");
    ASSERT_EQ(discovered_objects.size(), 1U);
    EXPECT_EQ(*find_object_path(7), "/a/device_7");
}

TEST_F(Discovery, AnUnknownEidHasNoPathAndIsSaid)
{
    const RecordedConsole console;
    EXPECT_EQ(find_object_path(9), nullptr);
    EXPECT_EQ(console.lines(), "");
    EXPECT_EQ(resolve_object_path(9), nullptr);
    EXPECT_EQ(console.lines(), "Object name not found.\n");
    EXPECT_TRUE(discovered_objects.empty());
}

TEST_F(Discovery, AnEntryIsCreatedWhereItIsAskedFor)
{
    EXPECT_EQ(object_path_entry(0), "");
    EXPECT_EQ(discovered_objects.size(), 1U);
}

TEST_F(Discovery, TheFirstDeviceOfAPathIsFound)
{
    enter_device(3, "/a/b");
    enter_device(1, "/a/b");
    enter_device(2, "/a/c");
    EXPECT_EQ(find_eid("/a/b"), Eid{1});
    EXPECT_EQ(find_eid("/a/d"), std::nullopt);
}

TEST_F(Discovery, OneDeviceIsErased)
{
    enter_device(3, "/a/b");
    enter_device(1, "/a/b");
    erase_device(1);
    erase_device(2);
    EXPECT_EQ(discovered_objects, (std::map<Eid, std::string>{{3, "/a/b"}}));
}

TEST_F(Discovery, TheListCountsFromOneInTheOrderOfTheEids)
{
    enter_device(30, "/a/x30");
    enter_device(4, "/a/x4");
    const RecordedConsole console;
    EXPECT_EQ(list_objects(), 0);
    EXPECT_EQ(console.lines(), "1: /a/x4\n2: /a/x30\n<not flushed>\n");
}

TEST_F(Discovery, TheEmptyListIsSaid)
{
    const RecordedConsole console;
    EXPECT_EQ(list_objects(), -1);
    EXPECT_EQ(console.lines(), "No objects found\n");
}

TEST_F(Discovery, AnUnknownDeviceHasAnEmptyIdentity)
{
    std::string xmid = "before";
    Eid eid = 5;
    EXPECT_EQ(read_device_identity(77, xmid, eid), 0);
    EXPECT_EQ(xmid, "");
    EXPECT_EQ(eid, 0);
}

} // namespace
