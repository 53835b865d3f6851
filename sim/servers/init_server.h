// The init command server ("/tmp/kv_init_servers_cmd_sock"): shell command lines (2457),
// USB serial on and off (263, 264: "/dev/ttyGS0" appears and goes), communication-module
// routing (819) and the factory-test step (291 set, 801 get).
#ifndef POS_SIM_SERVERS_INIT_SERVER_H
#define POS_SIM_SERVERS_INIT_SERVER_H

#include <mutex>

#include "scenario/scenario.h"
#include "servers/command_interpreter.h"
#include "servers/request_log.h"
#include "servers/usb_serial.h"

namespace possim {

class InitServer {
  public:
    InitServer(const Scenario &scenario, RequestLog &log);
    void handle(int fd);

  private:
    int32_t control(int32_t code, const std::string &text);
    void applyPower(PowerAction action);
    int32_t switchUsbSerial(bool on);

    RequestLog &log_;
    CommandInterpreter interpreter_;
    std::mutex mutex_;
    int factoryTestStep_;
    UsbSerialGadget usbSerial_;
};

}  // namespace possim

#endif
