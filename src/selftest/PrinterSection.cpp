// The thermal printer and the security processor, through the service hub: a test receipt
// printed and cut (the simulator keeps it as an image), and the security processor's random
// numbers, anti-tamper state and parameters.
#include <pos_sdk/service/BpTransferHub.h>

#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const int kPaperWidth = 384;

// A test pattern as the printer's hexadecimal bitmap text: a frame, a ramp of bars growing to
// the right and a checkerboard, HEIGHT rows of the whole paper width.
std::string testPattern(int height) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (int y = 0; y < height; ++y) {
        for (int byte = 0; byte < kPaperWidth / 8; ++byte) {
            int bits = 0;
            for (int bit = 0; bit < 8; ++bit) {
                int x = byte * 8 + bit;
                bool frame = y < 2 || y >= height - 2 || x < 2 || x >= kPaperWidth - 2;
                bool bar = y < height / 2 && (x / 16) % 2 == 0 && y > height / 2 - x / 16;
                bool checker = y >= height / 2 && ((x / 8) + (y / 8)) % 2 == 0;
                if (frame || bar || checker) bits |= 0x80 >> bit;
            }
            text += kDigits[bits >> 4];
            text += kDigits[bits & 15];
        }
    }
    return text;
}

}  // namespace

void testPrinter(Checks &checks, const Expectations &) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    int status = hub->IThermalOpen(0);
    if (!checks.check("printer opens", status == 0, got(status))) return;
    status = hub->IThermalStatus(0);
    checks.check("printer ready (paper in, head cool)", status == 0, got(status));
    status = hub->IThermalSetDensity(4, 2);
    checks.check("density 4, speed 2", status == 0, got(status));
    std::string pattern = testPattern(96);
    status = hub->IThermalPrintBmp(pattern.c_str(), 0, kPaperWidth, 96, 0, 16);
    checks.check("test pattern printed (384 x 96 dots)", status == 0, got(status));
    status = hub->IThermalPrintBmp("FF00FF", 0, 8, 2, 0, 0);  // two rows need four digits
    checks.check("a bitmap of the wrong length is refused", status == -1, got(status));
    status = hub->IThermalFeedPaper(48, 1);
    checks.check("paper fed and the receipt cut", status == 0, got(status));
    status = hub->IThermalClose();
    checks.check("printer closes", status == 0, got(status));
}

void testSecurity(Checks &checks, const Expectations &) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    const char *text = hub->ISecurityGetRandom(16);
    std::string first = text ? text : "";
    text = hub->ISecurityGetRandom(16);
    std::string second = text ? text : "";
    checks.check("16 random bytes: " + first,
                 first.size() == 32 && second.size() == 32 && first != second);
    int state = -1;
    int status = hub->ISecurityGetAntiTamperState(&state);
    checks.check("anti-tamper state " + std::to_string(state), status == 0, got(status));
    char none[] = "";
    status = hub->ISecurityClearAntiTamperState(0, none, 0);
    checks.check("clearing without a text is refused at once", status == -2, got(status));
    char value[] = "selftest";
    status = hub->ISecuritySetParam(200, value);
    text = hub->ISecurityGetParam(200);
    checks.check("parameter 200 kept", status == 0 && text && std::string(text) == "selftest",
                 got(status));
    text = hub->ISecurityGetEncCID();
    checks.check(std::string("encrypted chip identifier ") + (text ? text : "(none)"),
                 text != nullptr && text[0] != '\0');
}

}  // namespace selftest
