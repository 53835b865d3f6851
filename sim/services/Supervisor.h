// The terminal's binder side inside the sandbox: starts the service manager and every simulated
// service as processes of their own, answers the control console (state, set, event and fault
// through each service's control transaction; list, kill and restart itself) and stops
// everything, in reverse order, when it is destroyed.
#ifndef POS_SIM_SUPERVISOR_H
#define POS_SIM_SUPERVISOR_H

#include <nlohmann/json_fwd.hpp>

#include <sys/types.h>

#include <string>
#include <vector>

#include "Registry.h"
#include "control/control.h"

namespace possim {

class Supervisor {
  public:
    // Each service starts from its section of SCENARIO (a JSON object).
    explicit Supervisor(const nlohmann::json &scenario);
    ~Supervisor();
    Supervisor(const Supervisor &) = delete;
    Supervisor &operator=(const Supervisor &) = delete;

    // The service manager, then every service; false with ERROR when one does not come up.
    bool start(std::string &error);
    // Answers the console on SOCKET, and on connections handed in through CHANNEL (-1: none),
    // in a thread of its own until destroyed.
    bool serveConsole(const std::string &socket, int channel, std::string &error);
    // One console request: the words after `pos-sim ctl`.
    ctl::Answer answer(const std::vector<std::string> &words);

  private:
    struct Service {
        const ServiceEntry *entry;
        std::string state;  // JSON text it (re)starts from: its section, or its state when killed
        pid_t pid = -1;
    };

    bool startService(Service &service, std::string &error);
    bool running(Service &service);
    ctl::Answer killService(Service &service);
    ctl::Answer restartService(Service &service);
    ctl::Answer list();
    ctl::Answer control(Service &service, const nlohmann::json &command);
    void serveConnection(int fd);

    pid_t mManager = -1;
    std::vector<Service> mServices;  // in start order
    ctl::ConnectionServer mConsole;
};

}  // namespace possim

#endif
