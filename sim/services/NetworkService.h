// The simulated network service ("KivoNetworkService"): the cellular module and its SIM,
// registration, signal, base station, data link with its APN and DNS servers, voice calls,
// radio and airplane mode, the auto-connect switches, and the modem's AT port. It publishes
// the radio state, the shared network properties and the radio daemon's ready file
// ("/tmp/rils") for the library to read, and serves the modem on "/dev/chn/4".
#ifndef POS_SIM_NETWORK_SERVICE_H
#define POS_SIM_NETWORK_SERVICE_H

#include <array>
#include <chrono>
#include <memory>
#include <string>

#include "AtInterpreter.h"
#include "ModemLine.h"
#include "SimService.h"

namespace possim {

class NetworkService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "network" section taken over them.
    explicit NetworkService(const nlohmann::json &section);
    ~NetworkService() override;

    void start() override;

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    using Clock = std::chrono::steady_clock;

    struct State {
        SimState sim = SimState::Ready;
        bool registered = true;
        int signal = 20;  // 0-31, 99 unknown
        int ber = 99;
        int networkMode = 4;
        std::string radioSqi = "-85,-9,12";  // RSRP,RSRQ,SINR
        std::string operatorName = "CHINA MOBILE";
        std::string imei = "869012040123456";
        std::string imsi = "460001234567890";
        std::string iccid = "89860012345678901234";
        std::string baseband = "EC200UCNAAR03A01M08";
        std::array<int, 5> baseStation = {460, 0, 0x2A3B, 0x1C2D3E, 21};
        std::string accessTechnology = "FDD LTE";
        std::string operatorCode = "46000";
        std::string band = "LTE BAND 3";
        int channel = 1300;
        std::array<std::string, 6> apn = {"GSM", "cmnet", "", "", "3", "IP"};
        std::array<std::string, 2> dns = {"114.114.114.114", "8.8.8.8"};
        int preferredNetworkType = 3;
        int esmFailTimes = 0;
        int autoConnect = 0;  // bit 0 cellular, bit 1 Wi-Fi
        int airplaneMode = 0;
        int radioPower = 1;
        int wirelessEnabled = 1;
        bool wifiSleeping = false;
        int loginDelayMs = 1000;
        bool loginFails = false;
        std::string link = "down";  // down, connecting, up
        std::string address = "10.64.23.7";
        bool radioDaemonUp = true;
        std::string modem = "on";  // on, silent
        std::string callNumber;    // the call in progress, empty without one
    };

    void addHandlers();
    bool linkUp() const;
    std::string currentLink() const;
    bool canConnect() const;
    int connect(const android::Parcel &request);
    int setDns(const android::Parcel &request);
    ModemView modemView() const;
    // Makes the published files and the modem agree with the state (once started).
    void publish();

    State mState;
    Clock::time_point mConnectedAt;
    bool mStarted = false;
    std::unique_ptr<ModemLine> mModem;
    std::mutex mViewLock;  // what the modem's thread reads
    ModemView mView;
};

}  // namespace possim

#endif
