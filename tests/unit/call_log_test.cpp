#include "mistake.hpp"
#include "simulator/call_log.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>

namespace
{

using namespace simulator;

TEST(CallLine, ShowsSignatureAndValues)
{
    EXPECT_EQ(call_line({"/d12",
                         "com.varn.bmc.spdm.spdm",
                         "GetMeasurement",
                         {number_value('q', 3),
                          array_value("q", {number_value('q', 1), number_value('q', 2)})}}),
              "GetMeasurement com.varn.bmc.spdm.spdm /d12 qaq 3 [1,2]");
    EXPECT_EQ(call_line({"/d12", "a.b", "GetAll", {text_value("com \"x\"\n")}}),
              R"(GetAll a.b /d12 s "com \"x\"\n")");
    EXPECT_EQ(call_line({"/d12", "a.b", "Set", {variant_value(bytes_value({0, 255}))}}),
              R"(Set a.b /d12 v ["ay",[0,255]])");
}

TEST(CallLine, HasDashesForWhatIsEmpty)
{
    EXPECT_EQ(call_line({"/d12", "a.b", "ReAuthenticate", {}}), "ReAuthenticate a.b /d12 -");
    EXPECT_EQ(call_line({"/d12", "", "Ping", {}}), "Ping - /d12 -");
}

TEST(CallLog, AppendsAndFlushesEachLine)
{
    std::string name = (std::filesystem::temp_directory_path() / "call-log-XXXXXX").string();
    ::close(::mkstemp(name.data()));
    std::ofstream(name) << "before\n";
    CallLog log(name);
    log.write({"/d12", "a.b", "ReAuthenticate", {}});
    std::ostringstream content;
    content << std::ifstream(name).rdbuf();
    std::filesystem::remove(name);
    EXPECT_EQ(content.str(), "before\nReAuthenticate a.b /d12 -\n");
}

TEST(CallLog, ThatCannotBeWrittenIsNamedOnce)
{
    CallLog log("/dev/full");
    testing::internal::CaptureStderr();
    log.write({"/d12", "a.b", "ReAuthenticate", {}});
    log.write({"/d12", "a.b", "ReAuthenticate", {}});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "spdm-simulator: cannot write to /dev/full: No space left on device\n");
}

TEST(CallLog, ThatCannotBeOpenedIsNamed)
{
    EXPECT_EQ(complaint_of<std::system_error>([] { CallLog log("/no/such/folder/calls"); }),
              "/no/such/folder/calls: No such file or directory");
}

} // namespace
