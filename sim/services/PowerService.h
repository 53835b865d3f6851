// The simulated power service ("KivoPowerService"): screen brightness, battery readings and
// the sleep timers.
#ifndef POS_SIM_POWER_SERVICE_H
#define POS_SIM_POWER_SERVICE_H

#include "SimService.h"

namespace possim {

class PowerService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "power" section taken over them.
    explicit PowerService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        int brightness = 80;         // 0..100
        int batteryCapacity = 85;    // percent
        int batteryVoltage = 4012;   // millivolts
        int chargeState = 0;         // 0 not charging, 1 charging, 2 full
        int sleepTime = 60;          // seconds
        int deepSleepTime = 30;      // seconds
        int sleepShutdownTime = 24;  // hours
        int allowSleep = 1;
    };
    State mState;
};

}  // namespace possim

#endif
