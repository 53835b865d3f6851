// Starting and stopping the simulator's processes: the service manager and one process per
// simulated service, each the program pos-sim-service. pos-sim and the tests share these.
#ifndef POS_SIM_SERVICE_HOST_H
#define POS_SIM_SERVICE_HOST_H

#include <string>
#include <sys/types.h>
#include <vector>

namespace possim {

// Runs `program args...` as a child that reports readiness by writing one byte to the file
// descriptor given to it as "--ready-fd N". Returns its pid once ready, or -1 when it failed
// or stayed silent for timeoutMs (it is then killed). The child gets SIGTERM if we die.
pid_t spawnAndWaitReady(const std::string &program, const std::vector<std::string> &args,
                        int timeoutMs);

// SIGTERM, then SIGKILL after graceMs; reaps the child.
void stopProcess(pid_t pid, int graceMs = 2000);

// The path of pos-sim-service: beside the running program.
std::string serviceProgramPath();

}  // namespace possim

#endif
