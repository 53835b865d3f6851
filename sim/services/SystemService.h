// The simulated system service ("KivoSystemManagerService"): the microcontroller's clock,
// sleep and wake, beeper, key tone, LEDs, device information records and debug mode.
#ifndef POS_SIM_SYSTEM_SERVICE_H
#define POS_SIM_SYSTEM_SERVICE_H

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <nlohmann/json.hpp>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace possim {

struct SystemState {
    long long clockOffset = 0;  // seconds the terminal's clock runs ahead of the host's
    std::string serialNumber = "KV00000001";
    std::map<int, std::string> devInfo;  // records other than 1 (1 is built from the serial)
    int beeperFrequency = 0;
    int beeperDuration = 0;
    int keytone = 1;
    int leds[6] = {0, 0, 0, 0, 0, 0};
    int wakeSource = 0;
    bool mcuSleeping = false;
    int debugMode = 0;
    std::string debugRandom = "5A3C9E01";
    int rfidTestResult = 0;
    int batteryState = 0;
    int lpLedFrequency = 1;

    // Defaults overridden by the keys present in a scenario's "system" section.
    static SystemState fromJson(const nlohmann::json &section);
};

class SystemService : public android::BBinder {
  public:
    explicit SystemService(const SystemState &initial);

    const android::String16 &getInterfaceDescriptor() const override;
    SystemState snapshot() const;

    // Device information record 1 as the service reports it: hexadecimal text of four zero
    // bytes, the record type 1, the serial number's length (low byte first) and its bytes.
    static std::string encodeSerialRecord(const std::string &serial);

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel &data, android::Parcel *reply,
                                 uint32_t flags) override;

  private:
    void writeTextReply(uint32_t code, const android::Parcel &data, android::Parcel *reply) const;
    // Runs a command or integer query; returns its status and appends the values that
    // follow the status in the reply.
    int runCommand(uint32_t code, const android::Parcel &data, std::vector<int32_t> *outputs);
    std::string rtcText() const;
    int setRtc(const android::Parcel &data);
    int setDevInfo(const android::Parcel &data);
    int setDebugMode(const android::Parcel &data);
    std::string devInfo(int record) const;

    mutable std::mutex mLock;
    SystemState mState;
};

}  // namespace possim

#endif
