#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

#include <utility>

/// Makes runs for the tests of what reads them.

/// A run of `bench-7` in the file `night.txt`, from line 1 to `last_line`, of which nothing is known.
inline report::Run empty_run(report::Line last_line = 9)
{
    report::Run run;
    run.controller = "bench-7";
    run.name = "night.txt";
    run.first_line = 1;
    run.last_line = last_line;
    run.bytes = 300;
    return run;
}

/// A device of the table.
inline report::Device cpu_12(report::Line line)
{
    report::Device device;
    device.line = line;
    device.eid = std::uint16_t{12};
    device.path = "/cpu/cpu_12";
    device.xmid = "CPU-12";
    return device;
}
