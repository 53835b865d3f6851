#include "Registry.h"

#include <nlohmann/json.hpp>

#include "PinpadService.h"
#include "NetworkService.h"
#include "ICCardService.h"
#include "MagcardService.h"
#include "PowerService.h"
#include "RFIDService.h"
#include "SystemService.h"
#include "CloudService.h"
#include "Qd36nService.h"
#include "SegLcdService.h"
#include "TtsService.h"
#include "DisplayService.h"

namespace possim {

namespace {

template <typename Service>
android::sp<SimService> make(const nlohmann::json &section) {
    return new Service(section);
}

}  // namespace

const std::vector<ServiceEntry> &simulatedServices() {
    static const std::vector<ServiceEntry> services = {
        {"system", "KivoSystemManagerService", "system", make<SystemService>},
        {"power", "KivoPowerService", "power", make<PowerService>},
        {"pinpad", "KivoPinpadManagerService", "pinpad", make<PinpadService>},
        {"cloud", "cloudservice", "cloud", make<CloudService>},
        {"qd36n", "KivoQd36nService", "qd36n", make<Qd36nService>},
        {"seglcd", "KivoSegLcdService", "seglcd", make<SegLcdService>},
        {"tts", "KivoTtsService", "tts", make<TtsService>},
        {"network", "KivoNetworkService", "network", make<NetworkService>},
        {"iccard", "KivoIICCardService", "iccard", make<ICCardService>},
        {"magcard", "KivoMagcardService", "magcard", make<MagcardService>},
        {"rfid", "KivoRFIDService", "rfid", make<RFIDService>},
        {"display", "PosSimDisplayService", "display", make<DisplayService>},
    };
    return services;
}

const ServiceEntry *findService(const std::string &key) {
    for (const ServiceEntry &entry : simulatedServices()) {
        if (key == entry.key) return &entry;
    }
    return nullptr;
}

std::map<std::string, std::vector<std::string>> scenarioKeys() {
    std::map<std::string, std::vector<std::string>> keys;
    for (const ServiceEntry &entry : simulatedServices()) {
        nlohmann::json state =
            nlohmann::json::parse(entry.make(nlohmann::json::object())->stateText());
        for (auto it = state.begin(); it != state.end(); ++it)
            keys[entry.section].push_back(it.key());
    }
    return keys;
}

}  // namespace possim
