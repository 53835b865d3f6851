// The display: a main screen (text lines and a rectangle), then an amount entry and a message
// box answered by whoever drives the screen: a scenario input script of the UI library or the
// simulated terminal's console (pos-sim ctl display event key name=ENTER, ...). A view nobody
// answers ends with its time-out, which the section reports but does not count as a failure;
// any other code than the documented ones does.
#include <pos_sdk/disp.h>

#include <cctype>
#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const int kWaitSeconds = 3;
const int kConfirmed = 0, kCancelled = -2;
// The amount entry answers a time-out with -1, the other views with -3.
const int kAmountTimedOut = -1, kTimedOut = -3;

std::string outcome(int code, int timedOut) {
    return code == kConfirmed   ? "confirmed"
           : code == kCancelled ? "cancelled"
           : code == timedOut   ? "timed out (nobody answered)"
                                : "unexpected code " + std::to_string(code);
}

bool documented(int code, int timedOut) {
    return code == kConfirmed || code == kCancelled || code == timedOut;
}

void showMainScreen() {
    Disp_vClearPort();
    Disp_vShowStr(0, 0, 0, "pos_selftest");
    Disp_vShowStr(1, 0, 0, "Display section");
    Disp_vDrawRectWithColor(100, 520, 600, 120, 0x2e2bff);
    Disp_vShowStr(5, 0, 0, "Press a key");
}

}  // namespace

void testDisplay(Checks &checks, const Expectations &) {
    Disp_vInit();
    showMainScreen();
    int key = Disp_GetKey(kWaitSeconds * 1000);
    checks.check("main screen shown, key " + (key < 0 ? std::string("none") : std::to_string(key)),
                 key >= -1 && key <= 19, got(key));

    char amount[16] = {0};
    int code = Disp_nShowAmountInputView(0, 0, 800, 400, "EUR", 1, 9, sizeof amount, amount,
                                         kWaitSeconds, 0);
    bool digits = strlen(amount) >= 1 && strlen(amount) <= 9;
    for (const char *c = amount; *c != '\0'; ++c) digits = digits && isdigit(*c);
    checks.check("amount entry " + outcome(code, kAmountTimedOut) +
                     (code == kConfirmed ? ": " + std::string(amount) : ""),
                 documented(code, kAmountTimedOut) && (code != kConfirmed || digits), got(code));

    code = Disp_nMessageBox("Self-test", 3, kWaitSeconds, 0, "Amount %s accepted?", amount);
    checks.check("message box " + outcome(code, kTimedOut), documented(code, kTimedOut), got(code));
    Disp_vClearPort();
}

}  // namespace selftest
