// The simulator's scenario loader on arbitrary text. It must answer every input with true or
// false and never throw; a refused scenario leaves the caller's state alone and says why, and
// an accepted one holds only applications the package server can serve.
#include <string>

#include "FuzzCheck.h"
#include "scenario/scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    possim::Scenario scenario;
    scenario.hwVersion = "untouched";
    std::string error;
    bool ok = false;
    try {
        ok = possim::parseScenario(text, scenario, error);
    } catch (...) {
        FUZZ_CHECK(!"parseScenario let an exception out");
    }
    if (!ok) {
        FUZZ_CHECK(!error.empty());
        FUZZ_CHECK(scenario.hwVersion == "untouched" && scenario.apps.empty());
        return 0;
    }
    FUZZ_CHECK(scenario.raw.is_object());
    for (const auto &app : scenario.apps) {
        FUZZ_CHECK(!app.id.empty() && app.id.size() <= 32 && !app.name.empty());
    }
    // The defaults stay unless the text replaced them.
    if (!scenario.raw.contains("properties")) {
        FUZZ_CHECK(scenario.properties == possim::defaultScenario().properties);
    }
    return 0;
}
