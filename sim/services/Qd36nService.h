// The simulated companion microcontroller ("KivoQd36nService"): three LEDs, its date and
// time, the secure element it resets and the USB switch.
#ifndef POS_SIM_QD36N_SERVICE_H
#define POS_SIM_QD36N_SERVICE_H

#include <string>

#include "SimService.h"

namespace possim {

class Qd36nService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "qd36n" section taken over them.
    explicit Qd36nService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        int red = 0;  // each LED: 0 off, 1 on, 2 blinking
        int green = 0;
        int blue = 0;
        std::string datetime;  // the last date and time set, YYYYMMDDhhmm.ss ("" never set)
        int usbSwitch = 0;     // 0 or 1
        int seResets = 0;      // secure-element resets so far
        bool seFault = false;  // the secure element does not come back from a reset
    };

    int ctrlEx(const android::Parcel &request);
    int setDatetime(const android::Parcel &request);

    State mState;
};

}  // namespace possim

#endif
