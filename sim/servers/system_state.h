// The terminal state the simulator publishes inside the sandbox for the library and the
// system utility library to read: system properties, the shared property store, the radio
// state, the board driver's hardware version, the radio daemon's ready file, and the
// simulator's own status files under "/tmp/.possim" (power, USB serial, factory step).
#ifndef POS_SIM_SERVERS_SYSTEM_STATE_H
#define POS_SIM_SERVERS_SYSTEM_STATE_H

#include <string>

#include "scenario/scenario.h"

namespace possim {

constexpr const char *kStatusDir = "/tmp/.possim";

// Publishes the scenario's state; false with ERROR when a file cannot be written.
bool publishSystemState(const Scenario &scenario, std::string &error);

// Writes one status file "/tmp/.possim/NAME" (e.g. "power" = "rebooting").
void writeStatus(const std::string &name, const std::string &value);
std::string readStatus(const std::string &name);

}  // namespace possim

#endif
