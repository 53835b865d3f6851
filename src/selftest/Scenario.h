// What the self-test expects of the terminal, taken from the scenario file the simulator was
// started with. Without a file nothing is expected beyond what the self-test sets itself.
#ifndef POS_SELFTEST_SCENARIO_H
#define POS_SELFTEST_SCENARIO_H

#include <optional>
#include <string>
#include <vector>

namespace selftest {

struct ExpectedApp {
    std::string id;
    std::string name;     // the id when the scenario gives none
    std::string version;  // as the SDK reports it: "V1.2.3-4"
};

struct Expectations {
    std::optional<std::string> serialNumber;
    std::optional<int> batteryCapacity;
    std::optional<int> batteryVoltage;
    std::optional<int> chargeState;
    std::vector<ExpectedApp> apps;  // empty: the installed applications are not known
    std::optional<std::string> scriptedPin;  // the PIN pad's first scripted entry, if digits
    // Cards the terminal starts with: in the IC card slot, swiped, in the contactless field.
    std::optional<bool> cardInserted;
    std::optional<bool> cardSwiped;
    std::optional<bool> cardInField;
};

// Reads the scenario TEXT (a JSON object). Returns false and sets ERROR when it is not one, or
// when an application has no id or an unreadable version; absent sections are fine.
bool parseScenario(const std::string &text, Expectations &out, std::string &error);

// As parseScenario, from the file at PATH.
bool loadScenario(const std::string &path, Expectations &out, std::string &error);

// "1.2.3-4" -> "V1.2.3-4"; empty when the text is not MAJOR.MINOR.PATCH-BUILD.
std::string reportedVersion(const std::string &version);

}  // namespace selftest

#endif
