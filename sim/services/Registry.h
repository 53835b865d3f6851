// The simulated services, one row each. pos-sim starts every row, pos-sim-service runs one by
// its key, `pos-sim ctl` and the tests address them by key, the scenario warnings take their
// keys from here and the fuzzer calls every row. A new service is one row and its own unit.
#ifndef POS_SIM_REGISTRY_H
#define POS_SIM_REGISTRY_H

#include <binder/Binder.h>

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <vector>

#include "SimService.h"

namespace possim {

struct ServiceEntry {
    const char *key;             // the word that selects it: "power"
    const char *registeredName;  // its name in the service manager: "KivoPowerService"
    const char *section;         // the scenario section of its initial state: "power"
    // Builds the service from that section (an object, {} for the defaults); throws
    // std::exception with the reason when the section holds a value it cannot take.
    android::sp<SimService> (*make)(const nlohmann::json &section);
};

const std::vector<ServiceEntry> &simulatedServices();

// The row with KEY, or null.
const ServiceEntry *findService(const std::string &key);

// The keys each service's scenario section accepts (the keys of its state), by section.
std::map<std::string, std::vector<std::string>> scenarioKeys();

}  // namespace possim

#endif
