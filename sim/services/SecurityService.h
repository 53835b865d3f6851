// The simulated security processor ("KivoSecurityManagerService"): random numbers from the
// kernel's source, the anti-tamper state and its clearing, the serial number, security
// parameters by selector and the encrypted chip identifiers.
#ifndef POS_SIM_SECURITY_SERVICE_H
#define POS_SIM_SECURITY_SERVICE_H

#include <map>
#include <string>

#include "SimService.h"

namespace possim {

class SecurityService : public SimService {
  public:
    explicit SecurityService(const nlohmann::json &section);

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        int antiTamper = 0;  // 0 untouched, else the tamper sources that tripped (bits)
        std::string serialNumber = "KV0000000001";
        std::string clearPassword = "00000000";  // authorises the clear operations
        std::map<int, std::string> params;       // by selector
        std::string encCid = "7A3F09C2E14B58D6A0B3C4D5E6F70812";
        std::string osEncCid = "C0FFEE0123456789ABCDEF0123456789";
        bool osPubKey = true;  // the OS signing key is installed
    };

    // The clear operations' request: mode, length, text. 0 when the text is the password.
    int authorise(const android::Parcel &request) const;

    State mState;
};

}  // namespace possim

#endif
