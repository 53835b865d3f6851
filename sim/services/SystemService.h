// The simulated system service ("KivoSystemManagerService"): the microcontroller's clock,
// sleep and wake, beeper, key tone, LEDs, device information records and debug mode.
// Its state also shows, and sets, what the rest of the terminal keeps of the system: the
// software versions (system properties), whether USB serial runs, the upgrades applied and
// upgrade failures to inject. Inside a simulated terminal these are the terminal's own;
// outside one (a service run by itself) they are kept here.
#ifndef POS_SIM_SYSTEM_SERVICE_H
#define POS_SIM_SYSTEM_SERVICE_H

#include <array>
#include <map>
#include <string>
#include <vector>

#include "SimService.h"

namespace possim {

class SystemService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "system" section taken over them.
    explicit SystemService(const nlohmann::json &section);

    // Device information record 1 as the service reports it: hexadecimal text of four zero
    // bytes, the record type 1, the serial number's length (low byte first) and its bytes.
    static std::string encodeSerialRecord(const std::string &serial);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        long long clockOffset = 0;  // seconds the terminal's clock runs ahead of the host's
        std::string serialNumber = "KV00000001";
        std::map<int, std::string> devInfo;  // records other than 1 (1 is built from the serial)
        int beeperFrequency = 0;
        int beeperDuration = 0;
        int keytone = 1;
        std::array<int, 6> leds = {0, 0, 0, 0, 0, 0};
        int wakeSource = 0;
        bool mcuSleeping = false;
        int debugMode = 0;
        std::string debugRandom = "5A3C9E01";
        int rfidTestResult = 0;
        int batteryState = 0;
        int lpLedFrequency = 1;
        std::string serialRecord;  // answered for record 1 as it is, when not empty
        // What the terminal keeps, mirrored here.
        std::map<std::string, std::string> versions;  // by the names of kVersions
        bool usbSerial = false;
        std::vector<std::string> upgrades;
        int upgradeFailCount = 0;
        int upgradeFailStatus = 0;
    };

    State withTerminal(State s) const;
    void storeInTerminal(const State &from, const State &to) const;

    std::string rtcText() const;
    int setRtc(const android::Parcel &request);
    std::string devInfo(int record) const;
    int setDevInfo(const android::Parcel &request);
    int setDebugMode(const android::Parcel &request);

    State mState;
};

}  // namespace possim

#endif
