#include "mistake.hpp"
#include "report/writers/output_file.hpp"
#include "report/writers/spool.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace report;

TEST(Spool, GivesBackEachText)
{
    const TemporaryFolder folder;
    Spool spool(folder.path());
    EXPECT_TRUE(folder.names().empty());
    const auto first = spool.append("first");
    const auto empty = spool.append("");
    const std::string large(200'000, 'x');
    const auto last = spool.append(large);
    EXPECT_EQ(spool.read(last), large);
    EXPECT_EQ(spool.read(first), "first");
    EXPECT_EQ(spool.read(empty), "");
}

TEST(Spool, NamesAFolderThatCannotBeUsed)
{
    EXPECT_EQ(complaint_of<OutputError>([] { Spool{"/no/such"}; }),
              "cannot keep results in /no/such: No such file or directory");
}

} // namespace
