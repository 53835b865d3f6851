// The terminal state the simulator publishes inside the sandbox for the library and the
// system utility library to read: system properties, the shared property store, the radio
// state, the board driver's hardware version, the radio daemon's ready file, and the
// simulator's own status files under "/tmp/.possim" (power, USB serial, factory step).
#ifndef POS_SIM_SERVERS_SYSTEM_STATE_H
#define POS_SIM_SERVERS_SYSTEM_STATE_H

#include <string>
#include <vector>

#include "scenario/scenario.h"

namespace possim {

constexpr const char *kStatusDir = "/tmp/.possim";

// Publishes the scenario's state; false with ERROR when a file cannot be written.
bool publishSystemState(const Scenario &scenario, std::string &error);

// Writes one status file "/tmp/.possim/NAME" (e.g. "power" = "rebooting").
void writeStatus(const std::string &name, const std::string &value);
std::string readStatus(const std::string &name);

// Whether this process runs inside a simulated terminal (its status directory exists).
bool insideTerminal();

// What the upgrade servers applied, one line each ("firmware se_fota_application.KVG",
// "file /tmp/update.bin", "download"), oldest first, in "/tmp/.possim/upgrades".
std::vector<std::string> readUpgradeRecord();
void writeUpgradeRecord(const std::vector<std::string> &lines);
void appendUpgradeRecord(const std::string &line);

// Upgrade requests still to fail and the answer they get instead of being served
// ("/tmp/.possim/upgrade_faults"), shared by the firmware and upgrade servers.
struct UpgradeFaults {
    int count = 0;
    int status = 0;
};
UpgradeFaults readUpgradeFaults();
void writeUpgradeFaults(const UpgradeFaults &faults);
// Takes one pending failure: true, with the answer in STATUS, when one was pending.
bool takeUpgradeFault(int32_t &status);

}  // namespace possim

#endif
