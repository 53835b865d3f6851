// The simulated Wi-Fi service ("KivoWifiManagerService"): the networks in range from the
// scenario, joining them with their passwords checked, the link's status, raw commands
// answered as a supplicant's control interface answers them, and the signal of the joined
// network published where the system utility library reads it.
#ifndef POS_SIM_WIFI_SERVICE_H
#define POS_SIM_WIFI_SERVICE_H

#include <string>
#include <vector>

#include "SimService.h"

namespace possim {

// A network name with the escapes a supplicant prints: \xNN for bytes outside printable
// ASCII, \" and \\, and \n, \r, \t, \e.
std::string supplicantEscape(const std::string &ssid);

class WifiService : public SimService {
  public:
    // One network in range, as the scenario describes it.
    struct Network {
        std::string ssid;  // raw bytes (UTF-8 in the scenario)
        std::string bssid;
        int level = -60;  // dBm
        std::string flags;
        std::string password;  // empty: open
        int frequency = 2437;  // MHz
    };

    explicit WifiService(const nlohmann::json &section);
    void start() override;

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    struct State {
        bool enabled = true;
        std::vector<Network> networks;
        std::string connected;  // SSID of the joined network, empty when none
        std::string lastSsid;   // the network Reconnect joins again
        std::string lastPassword;
        std::string ipAddress = "192.168.1.100";
        std::string macAddress = "02:00:00:00:01:00";
        int scanEmptyRounds = 0;  // scans still to find nothing (a radio warming up)
        int lastConnectArg = 0;
    };

    int scan(ReplyFields &out);
    int connect(const android::Parcel &request);
    int join(const std::string &ssid, const std::string &password, bool secured);
    void disconnect();
    std::string command(const std::string &text) const;
    const Network *find(const std::string &ssid) const;
    // The joined network's signal where KV_GET_WIFI_SIGNA reads it (-127 when none).
    void publishSignal() const;

    State mState;
    bool mStarted = false;
};

}  // namespace possim

#endif
