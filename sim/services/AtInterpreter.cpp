#include "AtInterpreter.h"

#include <algorithm>
#include <cctype>

namespace possim {

namespace {

const char kNoSim[] = "+CME ERROR: 10";
const char kSimPin[] = "+CME ERROR: 11";

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(toupper(c)); });
    return text;
}

AtAnswer ok(std::vector<std::string> lines = {}) {
    AtAnswer a;
    a.lines = std::move(lines);
    a.final = "OK";
    return a;
}

AtAnswer error(const char *final = "ERROR") {
    AtAnswer a;
    a.final = final;
    return a;
}

// The answer of a command that needs a usable SIM, else the SIM's error.
AtAnswer needingSim(const ModemView &m, std::vector<std::string> lines) {
    if (m.sim == SimState::Absent) return error(kNoSim);
    if (m.sim == SimState::Locked) return error(kSimPin);
    return ok(std::move(lines));
}

bool startsWith(const std::string &text, const char *prefix) {
    return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

}  // namespace

AtAnswer answerAt(const std::string &line, const ModemView &m) {
    std::string cmd = upper(line);
    while (!cmd.empty() && isspace(static_cast<unsigned char>(cmd.back()))) cmd.pop_back();
    if (cmd == "AT") return ok();
    if (cmd == "ATE0" || cmd == "ATE1") {
        AtAnswer a = ok();
        a.echo = cmd == "ATE1" ? 1 : 0;
        return a;
    }
    if (cmd == "ATI") return ok({"Quectel", "EC200U", "Revision: " + m.baseband});
    if (cmd == "AT+CGSN" || cmd == "AT+GSN") return ok({m.imei});
    if (cmd == "AT+CSQ") {
        return ok({"+CSQ: " + std::to_string(m.signal) + "," + std::to_string(m.ber)});
    }
    if (cmd == "AT+CPIN?") {
        if (m.sim == SimState::Absent) return error(kNoSim);
        return ok({m.sim == SimState::Ready ? "+CPIN: READY" : "+CPIN: SIM PIN"});
    }
    if (cmd == "AT+CREG?" || cmd == "AT+CEREG?") {
        bool reg = m.sim == SimState::Ready && m.registered;
        return ok({cmd.substr(2, 5) + ": 0," + (reg ? "1" : "0")});
    }
    if (cmd == "AT+COPS?") {
        if (m.sim != SimState::Ready || !m.registered) return ok({"+COPS: 0"});
        return ok({"+COPS: 0,0,\"" + m.operatorName + "\",7"});
    }
    if (cmd == "AT+CIMI") return needingSim(m, {m.imsi});
    if (cmd == "AT+QCCID" || cmd == "AT+CCID") {
        if (m.sim == SimState::Absent) return error(kNoSim);
        return ok({"+QCCID: " + m.iccid});
    }
    if (startsWith(cmd, "AT+QPWRBACKOFF=")) return ok();
    if (startsWith(cmd, "AT+CMGS=")) {
        AtAnswer a = needingSim(m, {});
        if (!a.ok()) return a;
        a.final.clear();
        a.prompt = true;
        return a;
    }
    return error();
}

AtAnswer answerAtData(const std::string &data, bool sent) {
    if (!sent) return ok();
    (void)data;
    return ok({"+CMGS: 1"});
}

}  // namespace possim
