// The simulated terminal's control console, for a test that runs under pos-sim: the words of
// `pos-sim ctl` and the same answers, e.g.
//   harness::ctl({"power", "set", "battery_capacity=15"})
//   harness::ctl({"power", "fault", "fail", "1", "-7"})
//   harness::ctl({"power", "kill"}), harness::ctl({"power", "restart"})
//   harness::state("power")["battery_capacity"]
#ifndef POS_TESTS_HARNESS_CONSOLE_H
#define POS_TESTS_HARNESS_CONSOLE_H

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "control/control.h"

namespace harness {

// Whether this process runs inside a simulated terminal.
bool underSimulator();

possim::ctl::Answer ctl(const std::vector<std::string> &words);

// The state of SERVICE; null when it cannot be read.
nlohmann::json state(const std::string &service);

// Runs a shell command line: its exit status (-1 when it did not exit) and its output,
// standard error included.
struct CommandResult {
    int status;
    std::string out;
};
CommandResult runCommand(const std::string &command);

}  // namespace harness

#endif
