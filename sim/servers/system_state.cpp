#include "servers/system_state.h"

#include <stdio.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "sysglue/sysglue.h"

namespace possim {

namespace {

bool writeFile(const std::string &path, const std::string &text) {
    std::ofstream out(path, std::ios::trunc);
    out << text;
    return bool(out);
}

bool publishRadio(const RadioState &r) {
    bool ok = kv_set_radio_state("simstate", std::to_string(r.simState).c_str()) == 0;
    std::string signal = std::to_string(r.signal) + " " + std::to_string(r.signalSecond);
    ok = kv_set_radio_state("signal", signal.c_str()) == 0 && ok;
    ok = kv_set_radio_state("gsm_stat", std::to_string(r.gsmStat).c_str()) == 0 && ok;
    ok = kv_set_radio_state("network_mode", std::to_string(r.networkMode).c_str()) == 0 && ok;
    ok = kv_set_radio_state("wifi_rssi", std::to_string(r.wifiRssi).c_str()) == 0 && ok;
    return kvsetcutom("KV_RADIO_SQI", r.radioSqi.c_str()) == 0 && ok;
}

}  // namespace

// Replaced whole by a rename, so that a reader never sees a half-written status.
void writeStatus(const std::string &name, const std::string &value) {
    mkdir(kStatusDir, 0755);
    std::string path = std::string(kStatusDir) + "/" + name;
    std::string tmp = path + ".new";
    if (writeFile(tmp, value + "\n")) rename(tmp.c_str(), path.c_str());
}

std::string readStatus(const std::string &name) {
    std::ifstream in(std::string(kStatusDir) + "/" + name);
    std::string line;
    std::getline(in, line);
    return line;
}

bool publishSystemState(const Scenario &s, std::string &error) {
    for (const auto &kv : s.properties) {
        if (kvsetsysver(kv.first.c_str(), kv.second.c_str()) != 0) {
            error = "cannot publish property " + kv.first;
            return false;
        }
    }
    for (const auto &kv : s.sharedProperties) {
        if (kvsetcutom(kv.first.c_str(), kv.second.c_str()) != 0) {
            error = "cannot publish shared property " + kv.first;
            return false;
        }
    }
    if (!publishRadio(s.radio)) {
        error = "cannot publish the radio state";
        return false;
    }
    if (!writeFile("/sys/bus/platform/drivers/kivosys/hw_version", s.hwVersion + "\n")) {
        error = "cannot write the hardware version";
        return false;
    }
    // The radio daemon is "up" from the start.
    writeFile("/tmp/rils", "");
    writeStatus("power", "on");
    writeStatus("usb_serial", "off");
    writeStatus("comm_module_serial", "0");
    writeStatus("factory_test_step", std::to_string(s.factoryTestStep));
    return true;
}

}  // namespace possim
