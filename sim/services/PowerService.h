// The simulated power service ("KivoPowerService"): screen brightness, battery readings and
// the sleep timers.
#ifndef POS_SIM_POWER_SERVICE_H
#define POS_SIM_POWER_SERVICE_H

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <nlohmann/json.hpp>

#include <mutex>

namespace possim {

struct PowerState {
    int brightness = 80;         // 0..100
    int batteryCapacity = 85;    // percent
    int batteryVoltage = 4012;   // millivolts
    int chargeState = 0;         // 0 not charging, 1 charging, 2 full
    int sleepTime = 60;          // seconds
    int deepSleepTime = 30;      // seconds
    int sleepShutdownTime = 24;  // hours
    int allowSleep = 1;

    // Defaults overridden by the keys present in a scenario's "power" section.
    static PowerState fromJson(const nlohmann::json &section);
};

class PowerService : public android::BBinder {
  public:
    explicit PowerService(const PowerState &initial);

    const android::String16 &getInterfaceDescriptor() const override;
    PowerState snapshot() const;

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel &data, android::Parcel *reply,
                                 uint32_t flags) override;

  private:
    mutable std::mutex mLock;
    PowerState mState;
};

}  // namespace possim

#endif
