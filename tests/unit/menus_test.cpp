#include "private_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "shell/menus.hpp"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

namespace
{
bool join_fails = false;
} // namespace

/// Stands before std::thread::join() of the C++ library: joins, and fails where it is told to.
extern "C" void join_thread(void* thread) asm("_ZNSt6thread4joinEv");

extern "C" void join_thread(void* thread)
{
    static const auto next =
        reinterpret_cast<decltype(&join_thread)>(dlsym(RTLD_NEXT, "_ZNSt6thread4joinEv"));
    next(thread);
    if (join_fails)
    {
        throw std::system_error{std::make_error_code(std::errc::resource_deadlock_would_occur)};
    }
}

namespace
{

/// Reads std::cin from a text while it lives. Reading does not flush std::cout, as at the end of input.
class TypedInput
{
  public:
    explicit TypedInput(const std::string& text)
        : typed(text), input(std::cin.rdbuf(&typed)), tied(std::cin.tie(nullptr))
    {}
    ~TypedInput()
    {
        std::cin.tie(tied);
        std::cin.rdbuf(input);
    }
    TypedInput(const TypedInput&) = delete;
    TypedInput& operator=(const TypedInput&) = delete;

  private:
    std::stringbuf typed;
    std::streambuf* input;
    std::ostream* tied;
};

TEST(Menus, FlushLinesButNoPrompts)
{
    const PrivateBus daemon;
    discovered_objects = {{12, "/com/varn/bmc/spdm/spdm/cpu/cpu_12"}};
    const TypedInput input{"2 0 6 0 1 -1 8 -1 9 4 "};
    const RecordedConsole console;
    run_main_menu();
    const std::set<std::string> flushed{console.flushed().begin(), console.flushed().end()};
    for (const std::string piece :
         {"1: Regression Test\n2: Normal Test\n3: Measurement Test Suite\n4: Exit \n"
          "Please Choose the option:\n",
          "\nChoose the device index (0-1): \n",
          "1: ReAuthenticate\n2: GetCertficate\n3: GetCertificateProperties\n4: GetAll Properties\n"
          "5: Recurring ReAuthenticate\n6: GetMeasurement \n7: GetSignedMeasurement \n"
          "8: Monitor Signals\n9: Go Back \nPlease Choose the option:\n",
          "Please Enter Slot Number: Enter the indices of measurement block to fetch:\n",
          "Enter the next value (enter -1 to stop): DEBUG: Calling D-Bus method on object: "
          "/com/varn/bmc/spdm/spdm/cpu/cpu_12\n",
          "Press -1 to stop monitoring\n"})
    {
        EXPECT_TRUE(flushed.contains(piece)) << piece;
    }
    discovered_objects.clear();
}

TEST(MonitorSignals, ThatCannotBeStoppedReturnsToTheMenu)
{
    const PrivateBus daemon;
    discovered_objects = {{12, "/com/varn/bmc/spdm/spdm/cpu/cpu_12"}};
    const TypedInput input{"2 0 8 -1 9 4 "};
    const RecordedConsole console;
    join_fails = true;
    run_main_menu();
    join_fails = false;
    const auto printed = console.lines();
    EXPECT_NE(printed.find("Press -1 to stop monitoring\n"
                           "Error while stopping SPDMManagerServiceThread\n"
                           "<flushed at once>1: ReAuthenticate\n"),
              std::string::npos)
        << printed;
    discovered_objects.clear();
}

} // namespace
