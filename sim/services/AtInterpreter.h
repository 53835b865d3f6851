// The simulated modem's AT command interpreter: what a cellular module answers to one command
// line, given the state the network service keeps. Pure: the line discipline (echo, the "> "
// prompt, unsolicited lines) is ModemLine's.
#ifndef POS_SIM_AT_INTERPRETER_H
#define POS_SIM_AT_INTERPRETER_H

#include <string>
#include <vector>

namespace possim {

enum class SimState { Absent, Locked, Ready };

// What the modem knows of the network service's state.
struct ModemView {
    SimState sim = SimState::Ready;
    bool registered = true;
    int signal = 20;
    int ber = 99;
    std::string operatorName;
    std::string imei, imsi, iccid, baseband;
};

struct AtAnswer {
    std::vector<std::string> lines;  // information lines, without line ends
    std::string final;               // "OK", "ERROR", "+CME ERROR: 10", ...; empty with a prompt
    bool prompt = false;             // the command asks for data: answer "> " and wait for it
    int echo = -1;                   // ATE0 / ATE1: the new echo setting, else -1
    bool ok() const { return final == "OK"; }
};

// The answer to one command line (without its CR).
AtAnswer answerAt(const std::string &command, const ModemView &modem);

// The answer once the data of a prompting command ended with Ctrl-Z (sent) or ESC (dropped).
AtAnswer answerAtData(const std::string &data, bool sent);

}  // namespace possim

#endif
