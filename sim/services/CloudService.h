// The simulated test service ("cloudservice"): counts its pings, keeps what it was asked to
// print and does its two sums, so a binder round trip can be seen from both ends.
#ifndef POS_SIM_CLOUD_SERVICE_H
#define POS_SIM_CLOUD_SERVICE_H

#include <string>
#include <vector>

#include "SimService.h"

namespace possim {

class CloudService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "cloud" section taken over them.
    explicit CloudService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;

  private:
    struct State {
        int tests = 0;                     // test() calls
        std::vector<std::string> printed;  // the last texts print() was given, oldest first
    };
    State mState;
};

}  // namespace possim

#endif
