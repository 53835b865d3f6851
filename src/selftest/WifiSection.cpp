// Wi-Fi: the scenario's networks found by a scan, the first one joined with its password, the
// link's status and signal, a raw supplicant command, and the link left again.
#include <pos_sdk/wifi.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {

void testWifi(Checks &checks, const Expectations &expected) {
    char *ping[] = {const_cast<char *>("PING")};
    char answer[2048] = {0};
    int status = OsWifiCmd(ping, 1, answer, sizeof answer);
    if (!checks.check("supplicant answers PING", status == 0 && strcmp(answer, "PONG\n") == 0,
                      status == 0 ? answer : got(status)))
        return;
    // Without networks in the scenario a scan would only wait out its 10 seconds.
    if (expected.networks.empty()) {
        checks.check("no Wi-Fi networks in the scenario: scan and join skipped", true);
        return;
    }
    WIFI_SCAN_ENTRY_T *entries = nullptr;
    int found = OsWifiScan(&entries);
    checks.check(
        "scan finds the scenario's " + std::to_string(expected.networks.size()) + " networks",
        found == int(expected.networks.size()), got(found));
    const ExpectedNetwork &network = expected.networks.front();
    bool seen = false;
    for (int i = 0; i < found; ++i) {
        if (network.ssid == entries[i].ssid) {
            seen = true;
            checks.check(network.ssid + " is " + (network.password.empty() ? "open" : "WPA"),
                         entries[i].security == (network.password.empty() ? 1 : 5),
                         got(entries[i].security));
        }
    }
    free(entries);
    checks.check("scan names " + network.ssid, seen);

    WIFI_CONNECT_T request;
    memset(&request, 0, sizeof request);
    snprintf(request.ssid, sizeof request.ssid, "%s", network.ssid.c_str());
    request.security = network.password.empty() ? WIFI_SECURITY_OPEN : WIFI_SECURITY_WPA;
    request.password_len = int(network.password.copy(request.password, sizeof request.password));
    status = OsWifiConnect(&request, 1);
    checks.check("join " + network.ssid, status == 0, got(status));

    char ssid[256] = {0}, state[64] = {0}, address[64] = {0};
    int level = 0;
    status = OsGetWifiStatus(ssid, state, address, &level);
    checks.check(std::string("status: ") + ssid + ", " + state + ", " + address,
                 status == 0 && network.ssid == ssid && strcmp(state, "COMPLETED") == 0,
                 got(status));
    int strength = OsGetWifiSignalStrength();
    checks.check(
        "signal level " + std::to_string(strength) + " of 4 (" + std::to_string(level) + " dBm)",
        strength >= 0 && strength <= 4);
    status = OsWifiDisconnect();
    checks.check("leave " + network.ssid, status == 0, got(status));
    checks.check("not connected once left",
                 OsGetWifiStatus(ssid, state, address, &level) == OS_ERR_WIFI_NOT_CONNECTED);
}

}  // namespace selftest
