// The terminal's initial state as a scenario file describes it. Every field has a default,
// so a simulator started without a file is a plausible terminal.
#ifndef POS_SIM_SCENARIO_H
#define POS_SIM_SCENARIO_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace possim {

struct AppVersion {
    int major = 1, minor = 0, patch = 0, build = 0;
};

// One installed application.
struct ScenarioApp {
    std::string id;
    std::string name;
    AppVersion version;
    std::string description;
    std::string category = "app";
    std::string vendor;
    std::string exec;  // absolute path of the program started for the application
};

// What the radio readers of the system utility library report.
struct RadioState {
    int simState = 1;                    // 1: SIM ready
    int signal = 20;                     // 0-31, 99 unknown
    int signalSecond = 99;               // bit error rate
    int gsmStat = 1;                     // 1: registered
    int networkMode = 4;                 // the platform's network mode number
    int wifiRssi = -55;                  // dBm
    std::string radioSqi = "-85,-9,12";  // RSRP,RSRQ,SINR
};

// Answers the upgrade servers give (0 success, or codes such as -1002, -1004, -1005).
struct ServerReplies {
    int firmwareApply = 0;    // "/tmp/kivo_bserver_socket", 4096 "all"
    int upgradeFile = 0;      // "/tmp/kivo_upgrade_socket", 4097
    int upgradeDownload = 0;  // "/tmp/kivo_upgrade_socket", 4096
};

struct Scenario {
    nlohmann::json raw = nlohmann::json::object();            // the whole file, for other sections
    std::map<std::string, std::string> properties;            // system properties (kvgetsysver)
    std::map<std::string, std::string> sharedProperties;      // kvgetcutom / kvsetcutom store
    std::vector<std::pair<std::string, std::string>> custom;  // custom-settings table
    std::vector<ScenarioApp> apps;
    RadioState radio;
    ServerReplies replies;
    std::string hwVersion = "V2";
    int factoryTestStep = 0;
};

// The state of a terminal for which no scenario was given.
Scenario defaultScenario();

// Reads FILE over the defaults. On failure returns false and describes why in ERROR.
bool loadScenario(const std::string &file, Scenario &out, std::string &error);

// Same from text already in memory.
bool parseScenario(const std::string &text, Scenario &out, std::string &error);

// Larger or deeper JSON text is refused before it is parsed: no terminal needs more, and
// nesting that deep would exhaust the stack of whatever walks the document.
constexpr size_t kMaxJsonBytes = 4 * 1024 * 1024;
constexpr int kMaxJsonDepth = 64;

// Parses TEXT as JSON within the limits above. On failure returns false with ERROR.
bool parseJson(const std::string &text, nlohmann::json &out, std::string &error);

// The parts of a scenario the simulator does not know: one message per unknown section, and per
// unknown key of a known section. SERVICE_KEYS gives the sections of the simulated services
// with the keys each accepts; the other sections are the simulator's own.
std::vector<std::string> unknownParts(
    const nlohmann::json &scenario,
    const std::map<std::string, std::vector<std::string>> &serviceKeys);

}  // namespace possim

#endif
