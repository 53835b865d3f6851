// The card readers through the service hub: the IC card in the slot powered on and asked for
// its payment application, the tracks of a swiped card, a card in the contactless field
// selected and activated. A reader with no card is checked for saying so.
#include <pos_sdk/service/BpTransferHub.h>

#include <cctype>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const char kSelectPaymentApp[] = "00A4040007A000000003101000";
const char kReadFirstRecord[] = "00B2010C00";
const char kSelectPpse[] = "00A404000E325041592E5359532E444446303100";

std::string text(const char *answer) {
    return answer != nullptr ? answer : "(null)";
}

bool isHex(const std::string &answer, size_t minBytes) {
    if (answer.size() < 2 * minBytes || answer.size() % 2 != 0) return false;
    for (char c : answer) {
        if (!isxdigit(static_cast<unsigned char>(c))) return false;
    }
    return true;
}

// A response APDU: data and a two-byte status word.
std::string statusWord(const std::string &answer) {
    return isHex(answer, 2) ? answer.substr(answer.size() - 4) : "";
}

bool isError(const std::string &answer, int code) {
    return answer.compare(0, 6 + std::to_string(code).size(), "ERROR " + std::to_string(code)) == 0;
}

void contactCard(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    bool present = hub->IICCardDeckCheck(0, 0) == 0;
    if (expected.cardInserted) {
        checks.check(
            std::string("IC card slot ") + (*expected.cardInserted ? "holds a card" : "is empty"),
            present == *expected.cardInserted, present ? "a card is in" : "no card");
    }
    if (!present) {
        std::string atr = text(hub->IICCardPowerOn(0, 1000));
        checks.check("empty IC card slot refuses power on", isError(atr, -3), atr);
        return;
    }
    std::string atr = text(hub->IICCardPowerOn(0, 3000));
    checks.check("IC card powered on, ATR " + atr,
                 isHex(atr, 2) && (atr.compare(0, 2, "3B") == 0 || atr.compare(0, 2, "3F") == 0),
                 "not an answer to reset");
    std::string fci = text(hub->IICCardAsyncCardComm(0, kSelectPaymentApp, 2000));
    checks.check("SELECT of the payment application answers " + statusWord(fci),
                 !statusWord(fci).empty(), fci);
    std::string record = text(hub->IICCardAsyncCardComm(0, kReadFirstRecord, 2000));
    checks.check("READ RECORD 1 of SFI 1 answers " + statusWord(record),
                 !statusWord(record).empty(), record);
    std::string odd = text(hub->IICCardAsyncCardComm(0, "00A404000", 2000));
    checks.check("odd-length APDU refused", isError(odd, -1), odd);
    int status = hub->IICCardPowerOff(0, 0);
    checks.check("IC card powered off", status == 0, got(status));
}

void swipedCard(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    int swiped = -1;
    int status = hub->IMagcardStatus(&swiped);
    checks.check("magnetic reader status", status == 0 && (swiped == 0 || swiped == 1),
                 "status " + std::to_string(status) + ", swiped " + std::to_string(swiped));
    if (expected.cardSwiped) {
        checks.check(
            std::string("magnetic card ") + (*expected.cardSwiped ? "" : "not ") + "swiped",
            (swiped == 1) == *expected.cardSwiped, "swiped " + std::to_string(swiped));
    }
    if (swiped != 1) {
        status = hub->IMagcardRead(7, 0);
        checks.check("read without a swipe refused", status == -7, got(status));
        return;
    }
    status = hub->IMagcardRead(7, 15000);
    checks.check("swiped card read", status == 0, got(status));
    std::string track2 = text(hub->IMagcardReadData(2));
    checks.check("track 2 \"" + track2 + "\"", !track2.empty() && !isError(track2, -7), "empty");
    std::string track1 = text(hub->IMagcardReadData(1));
    checks.check("track 1 \"" + track1 + "\"", track1.compare(0, 5, "ERROR") != 0, track1);
}

void contactlessCard(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    int status = hub->IRFIDPowerOn();
    checks.check("RF field on", status == 0, got(status));
    std::string found = text(hub->IRFIDSearchCard(500));
    bool present = found.compare(0, 2, "A,") == 0 || found.compare(0, 2, "B,") == 0;
    if (expected.cardInField) {
        checks.check(std::string("contactless card ") + (*expected.cardInField ? "" : "not ") +
                         "in the field",
                     present == *expected.cardInField, found);
    }
    if (!present) {
        checks.check("empty field: no card found", isError(found, -3), found);
    } else {
        checks.check("contactless card tapped: " + found, true);
        std::string ats = text(hub->IRFIDCardPowerOn(500));
        if (isHex(ats, 1)) {
            std::string ppse = text(hub->IRFIDAPDUComm(kSelectPpse, 1000));
            checks.check(
                "card activated (ATS " + ats + "), SELECT PPSE answers " + statusWord(ppse),
                !statusWord(ppse).empty(), ppse);
        } else {
            checks.check("card without ISO 14443-4 says so", isError(ats, -5), ats);
        }
        status = hub->IRFIDCardPowerOff(0);
        checks.check("card deactivated", status == 0, got(status));
    }
    status = hub->IRFIDPowerOff();
    checks.check("RF field off", status == 0, got(status));
}

}  // namespace

void testCardReaders(Checks &checks, const Expectations &expected) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    int status = hub->IICCardOpen(0, 0);
    if (checks.check("IC card reader opened", status == 0, got(status))) {
        contactCard(checks, hub, expected);
        hub->IICCardClose(0);
    }
    status = hub->IMagcardOpen(0);
    if (checks.check("magnetic stripe reader opened", status == 0, got(status))) {
        swipedCard(checks, hub, expected);
        hub->IMagcardClose();
    }
    status = hub->IRFIDOpen(0);
    if (checks.check("contactless reader opened", status == 0, got(status))) {
        contactlessCard(checks, hub, expected);
        hub->IRFIDClose();
    }
}

}  // namespace selftest
