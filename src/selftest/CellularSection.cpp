// The cellular network: the module and SIM, identities and signal, a data login and its
// address, and an AT command on the modem's channel.
#include <pos_sdk/at.h>
#include <pos_sdk/network.h>

#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

void testIdentities(Checks &checks) {
    char imei[64] = {0}, iccid[64] = {0}, name[128] = {0};
    int status = OsWlGetImei(imei);
    checks.check("IMEI " + std::string(imei), status == 0 && strlen(imei) == 15, got(status));
    status = OsWlGetIccid(iccid);
    checks.check("ICCID " + std::string(iccid), status == 0, got(status));
    status = OsWlGetSimOperator(name);
    checks.check("operator \"" + std::string(name) + "\"", status == 0 && name[0] != '\0',
                 got(status));
}

void testSignal(Checks &checks) {
    int level = OsWlGetSignal();
    checks.check("signal level " + std::to_string(level) + " of 5", level >= 0 && level <= 5,
                 got(level));
    int strength = OsWlGetSignalStrength();
    checks.check("signal strength " + std::to_string(strength),
                 (strength >= 0 && strength <= 31) || strength == 99, got(strength));
}

void testLogin(Checks &checks) {
    int status = OsWlLogin("cmnet", "", "", 0, 10000);
    checks.check("data login", status == 0, got(status));
    char address[64] = {0};
    status = OsWlGetNetworkIp(address);
    checks.check("ppp0 address " + std::string(address), status == 0 && address[0] != '\0',
                 got(status));
    char dns[32] = {0};
    status = OsGetCurDNSAddr(dns, sizeof dns);
    checks.check("DNS server in use " + std::string(dns), status == 0, got(status));
    status = OsWlLogout();
    checks.check("logout", status == 0, got(status));
}

void testAtChannel(Checks &checks) {
    int status = OsCustATCmdOpen();
    checks.check("AT channel open", status == 0, got(status));
    char response[1024] = {0};
    status = OsSendCustATCmd("AT+CSQ", response);
    char *line = strstr(response, "+CSQ:");
    int signal = -1;
    bool parsed =
        line != nullptr && at_tok_start(&line) == 0 && at_tok_nextint(&line, &signal) == 0;
    checks.check("AT+CSQ answers signal " + std::to_string(signal), status == 0 && parsed,
                 got(status) + ", response \"" + response + "\"");
    checks.check("AT channel close keeps it usable",
                 OsCustATCmdClose() == 0 && OsSendCustATCmd("AT", response) == 0);
}

}  // namespace

void testCellular(Checks &checks, const Expectations &) {
    OsWlLock();
    int status = OsWlInit(nullptr);
    checks.check("module and SIM ready", status == 0, got(status));
    status = OsWlCheck();
    checks.check("registered", status == 0, got(status));
    testIdentities(checks);
    testSignal(checks);
    testLogin(checks);
    testAtChannel(checks);
    OsWlUnLock();
}

}  // namespace selftest
