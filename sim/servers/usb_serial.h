// The USB gadget serial port of the simulated terminal. Started, it stands at
// "/dev/ttyGS0" as a pseudo-terminal, and the host's end of the USB cable at
// "/tmp/.possim/usb_host" as another: bytes written to one are read from the other, as
// between a terminal and the PC it is plugged into. Stopped, both are gone.
#ifndef POS_SIM_SERVERS_USB_SERIAL_H
#define POS_SIM_SERVERS_USB_SERIAL_H

#include <string>
#include <thread>

namespace possim {

constexpr const char *kUsbSerialDevice = "/dev/ttyGS0";
constexpr const char *kUsbHostEnd = "/tmp/.possim/usb_host";

class UsbSerialGadget {
  public:
    UsbSerialGadget() = default;
    ~UsbSerialGadget() { stop(); }
    UsbSerialGadget(const UsbSerialGadget &) = delete;
    UsbSerialGadget &operator=(const UsbSerialGadget &) = delete;

    // Makes both ends appear (again, if a previous server left them behind). False with
    // ERROR when the pseudo-terminals cannot be had.
    bool start(std::string &error);
    // Removes both ends; nothing happens when it is not running.
    void stop();
    bool running() const { return relay_.joinable(); }

  private:
    struct End {
        int master = -1;
        int slave = -1;  // held open, so that the master never sees a hang-up
        std::string path;
    };
    bool openEnd(End &end, std::string &error);
    void closeEnd(End &end);
    void relay();

    End device_;
    End host_;
    int stopPipe_[2] = {-1, -1};
    std::thread relay_;
};

// Removes whatever a gadget left at the two paths (a server that died while it ran).
void removeUsbSerialNodes();

// Asks the init command server to start (ON) or stop USB serial, as the system does when a
// host is plugged in or out. False with ERROR when it cannot be reached or refuses.
bool requestUsbSerial(bool on, std::string &error);

}  // namespace possim

#endif
