// The PIN pad through the service hub: keys loaded in the self-test's own slots (index 99,
// DUKPT index 9), their check values, a MAC against its published value, and a PIN entry
// whose PIN block is worked out here with the library's own triple DES. The PIN comes from the
// scenario's scripted entries; without one the entry is started and cancelled.
#include <pos_sdk/crypto.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <string>
#include <vector>

#include "Sections.h"

namespace selftest {
namespace {

using Bytes = std::vector<unsigned char>;

const char kMasterKey[] = "0123456789ABCDEFFEDCBA9876543210";
const char kPinKey[] = "89ABCDEF01234567FEDCBA9876543210";
const char kPan[] = "4012345678909";

Bytes tripleDes(const Bytes &key, const Bytes &data) {
    Bytes out(data.size());
    TripleDes(key.data(), static_cast<int>(key.size()), data.data(), static_cast<int>(data.size()),
              out.data());
    return out;
}

std::string checkValue(const char *key) {
    Bytes value = tripleDes(bytes(key), Bytes(8, 0));
    return hex(value.data(), 3);
}

std::string textOf(const char *answer) {
    return answer != nullptr ? answer : "(no answer)";
}

// The ISO 9564 format 0 block: PIN field XOR 0000 and the twelve PAN digits left of the check
// digit.
Bytes formatZero(const std::string &pin, const std::string &pan) {
    std::string pinField = "0" + std::string(1, "0123456789ABC"[pin.size()]) + pin;
    pinField.resize(16, 'F');
    Bytes block = bytes(pinField.c_str());
    Bytes account = bytes(("0000" + pan.substr(pan.size() - 13, 12)).c_str());
    for (size_t i = 0; i < block.size(); ++i) block[i] ^= account[i];
    return block;
}

void expectAnswer(Checks &checks, const std::string &what, const char *answer,
                  const std::string &expected) {
    checks.check(what, textOf(answer) == expected,
                 "got \"" + textOf(answer) + "\", expected \"" + expected + "\"");
}

void testKeys(Checks &checks, BpTransferHub *hub) {
    expectAnswer(checks, "master key 99 loaded, check value " + checkValue(kMasterKey),
                 hub->IPinpadPushMasterKey((std::string("99|") + kMasterKey).c_str()),
                 "0|" + checkValue(kMasterKey));
    Bytes wrapped = tripleDes(bytes(kMasterKey), bytes(kPinKey));
    std::string request = "99|1|99|" + hex(wrapped.data(), 16) + "|" + checkValue(kPinKey);
    expectAnswer(checks, "PIN key 99 loaded under it, check value " + checkValue(kPinKey),
                 hub->IPinpadPushWorkKey(request.c_str()), "0|" + checkValue(kPinKey));
    int status = hub->IPinpadLoadKey("1|99|0123456789ABCDEFFEDCBA987654321");
    checks.check("a key of odd length refused", status == -2, got(status));

    status = hub->IPinpadLoadKey((std::string("2|99|") + kMasterKey).c_str());
    checks.check("MAC key 99 loaded", status == 0, got(status));
    // "Now is the time for all " under the ANSI X9.19 retail MAC.
    expectAnswer(checks, "X9.19 MAC of the published message",
                 hub->IPinpadMacCal("99|1|4E6F77206973207468652074696D6520666F7220616C6C20"),
                 "0|A1C72E74EA3FA9B6");

    status = hub->IPinpadDUKPTWriteKey("9|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF9876543210E00000");
    checks.check("DUKPT key 9 loaded", status == 0, got(status));
    hub->IPinpadDUKPTIncKSN(9);
    expectAnswer(checks, "DUKPT key serial number counts", hub->IPinpadDUKPTGetKSN(9),
                 "0|FFFF9876543210E00001");
}

void testPinEntry(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    std::string request = std::string("99|") + kPan;
    std::string started = textOf(hub->IPinpadStartInput(request.c_str(), 30));
    if (!expected.scriptedPin) {
        checks.check("PIN entry started", started == "1|0", "got \"" + started + "\"");
        int status = hub->IPinpadCtrlKeyResponse(0);
        expectAnswer(checks, "PIN entry cancelled (no scripted PIN in the scenario)",
                     hub->IPinpadGetPinResult(), "-11|cancelled");
        checks.check("cancel answered", status == 0, got(status));
        return;
    }
    const std::string &pin = *expected.scriptedPin;
    Bytes block = tripleDes(bytes(kPinKey), formatZero(pin, kPan));
    expectAnswer(
        checks,
        "scripted PIN taken: format 0 PIN block " + hex(block.data(), 8) + " under PIN key 99",
        hub->IPinpadGetPinResult(), "0|" + hex(block.data(), 8));
}

}  // namespace

void testPinpad(Checks &checks, const Expectations &expected) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    int status = hub->IPinpadOpen("selftest");
    if (!checks.check("PIN pad opens", status == 0, got(status))) return;
    std::string version = textOf(hub->IPinpadGetSecVer());
    checks.check("security version \"" + version + "\"", version.compare(0, 2, "0|") == 0);
    testKeys(checks, hub);
    testPinEntry(checks, hub, expected);
    status = hub->IPinpadClose();
    checks.check("PIN pad closes", status == 0, got(status));
}

}  // namespace selftest
