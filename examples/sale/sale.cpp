// A card sale from end to end on the SDK: the amount, a card from any reader (chip, stripe or
// contactless), the customer's PIN under the terminal's DUKPT key, the transaction stored in
// the record database, a receipt, "approved" spoken, and the sales so far listed.
//
//   sale [--amount CENTS] [--wait SECONDS] [--db DIR]     one sale
//   sale --list [--db DIR]                                the sales stored so far
//
// Exit status: 0 approved, 1 declined (no card, PIN cancelled or timed out, a reader or the
// PIN pad failing), 2 a wrong command line or no database.
#include <pos_sdk/pos_sdk.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

const char kAppId[] = "com.example.sale";
const char kTable[] = "sales";
const int kRecordSize = 256;  // one sale as a line of text, padded with zeros
const int kDukptKey = 0;      // the terminal's DUKPT key for PIN blocks
const int kPollMs = 100;

struct Options {
    long amount = 1250;  // in cents
    int waitSeconds = 60;
    std::string dbDir = "/customer/kivo/sale";
    bool list = false;
};

struct Card {
    std::string method;  // chip, stripe, contactless
    std::string pan;
};

BpTransferHub *hub() {
    return BpTransferHub::getInstance();
}

// The services' text answers (null when a service could not be reached).
std::string text(const char *answer) {
    return answer != nullptr ? answer : "";
}

bool parseOptions(int argc, char **argv, Options &o) {
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        bool hasValue = i + 1 < argc;
        if (arg == "--list") {
            o.list = true;
        } else if (arg == "--amount" && hasValue) {
            char *end = nullptr;
            o.amount = strtol(argv[++i], &end, 10);
            if (*end != '\0' || o.amount <= 0 || o.amount > 99999999) return false;
        } else if (arg == "--wait" && hasValue) {
            o.waitSeconds = atoi(argv[++i]);
            if (o.waitSeconds <= 0 || o.waitSeconds > 300) return false;
        } else if (arg == "--db" && hasValue) {
            o.dbDir = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

std::string amountText(long cents) {
    char text[32];
    snprintf(text, sizeof text, "%ld.%02ld", cents / 100, cents % 100);
    return text;
}

// The amount as the customer confirms it on the screen. This build of the SDK has no display
// functions: the amount comes from the command line.
long enterAmount(long scripted) {
    OsLog(LOG_LEVEL_INFO, "no display on this build: the amount is %s from the command line\n",
          amountText(scripted).c_str());
    printf("amount %s\n", amountText(scripted).c_str());
    return scripted;
}

bool isError(const char *answer) {
    return answer == nullptr || answer[0] == '\0' || strncmp(answer, "ERROR", 5) == 0;
}

// The PAN (tag 5A) of a READ RECORD answer: a record template 70 holding BER-TLV data objects.
std::string panOfRecord(const std::string &hex) {
    auto byteAt = [&](size_t i) {
        return static_cast<int>(strtol(hex.substr(2 * i, 2).c_str(), nullptr, 16));
    };
    size_t size = hex.size() / 2;
    if (size < 4 || byteAt(0) != 0x70) return "";
    size_t i = byteAt(1) == 0x81 ? 3 : 2;
    while (i + 2 <= size - 2) {  // the status word closes the answer
        int tag = byteAt(i++);
        if ((tag & 0x1F) == 0x1F) tag = (tag << 8) | byteAt(i++);
        size_t length = byteAt(i++);
        if (length == 0x81) length = byteAt(i++);
        if (i + length > size) return "";
        if (tag == 0x5A) {
            std::string pan = hex.substr(2 * i, 2 * length);
            size_t pad = pan.find_first_of("Ff");
            return pad == std::string::npos ? pan : pan.substr(0, pad);
        }
        i += length;
    }
    return "";
}

// The payment application's first record on a chip card, read through SEND.
template <typename Send>
std::string readPan(Send send, const char *readRecord) {
    const char *select = send("00A4040007A000000003101000");
    if (isError(select)) return "";
    const char *record = send(readRecord);
    return isError(record) ? "" : panOfRecord(record);
}

bool chipCard(Card &card) {
    if (hub()->IICCardDeckCheck(0, 0) != 0) return false;
    const char *atr = hub()->IICCardPowerOn(0, 1000);
    if (isError(atr)) return false;
    card.method = "chip";
    card.pan = readPan([](const char *apdu) { return hub()->IICCardAsyncCardComm(0, apdu, 1000); },
                       "00B2011400");
    hub()->IICCardPowerOff(0, 1000);
    return true;
}

bool stripeCard(Card &card) {
    int swiped = 0;
    if (hub()->IMagcardStatus(&swiped) != 0 || swiped != 1) return false;
    if (hub()->IMagcardRead(2, 1000) != 0) return false;
    std::string track2 = text(hub()->IMagcardReadData(2));
    size_t start = track2.find(';') == 0 ? 1 : 0;
    card.method = "stripe";
    card.pan = track2.substr(start, track2.find('=') - start);
    return true;
}

bool contactlessCard(Card &card) {
    if (hub()->IRFIDSearchCardWithoutPowerOn(0) != 0) return false;
    if (isError(hub()->IRFIDSearchCard(1000)) || isError(hub()->IRFIDCardPowerOn(1000)))
        return false;
    card.method = "contactless";
    card.pan =
        readPan([](const char *apdu) { return hub()->IRFIDAPDUComm(apdu, 1000); }, "00B2011C00");
    hub()->IRFIDCardPowerOff(1000);
    return true;
}

// Waits for a card at any reader; false when none came in time.
bool waitForCard(int seconds, Card &card) {
    printf("insert, swipe or tap card\n");
    fflush(stdout);
    OsLog(LOG_LEVEL_INFO, "insert, swipe or tap card\n");
    hub()->IICCardOpen(0, 0);
    hub()->IMagcardOpen(0);
    hub()->IRFIDOpen(0);
    hub()->IRFIDSelectCardType(0, 106);
    hub()->IRFIDPowerOn();
    bool found = false;
    for (int waited = 0; !found && waited < seconds * 1000; waited += kPollMs) {
        found = chipCard(card) || stripeCard(card) || contactlessCard(card);
        if (!found) usleep(kPollMs * 1000);
    }
    hub()->IRFIDPowerOff();
    hub()->IRFIDClose();
    hub()->IMagcardClose();
    hub()->IICCardClose(0);
    return found && card.pan.size() >= 13;
}

// The customer's PIN as a DUKPT PIN block: "PINBLOCK|KSN", or empty with the reason shown.
std::string takePin(const Card &card, int seconds) {
    if (hub()->IPinpadOpen(kAppId) != 0) {
        printf("declined: the PIN pad does not open\n");
        return "";
    }
    printf("enter PIN\n");
    fflush(stdout);
    std::string request = std::to_string(kDukptKey) + "|" + card.pan;
    std::string answer = text(hub()->IPinpadDUKPTGetPinBlock(request.c_str(), seconds));
    while (answer.compare(0, 2, "1|") == 0) {
        usleep(kPollMs * 1000);
        answer = text(hub()->IPinpadDUKPTGetPinResult());
    }
    hub()->IPinpadClose();
    if (answer.compare(0, 2, "0|") != 0) {
        printf("declined: %s\n", answer.compare(0, 3, "-11") == 0   ? "PIN cancelled"
                                 : answer.compare(0, 3, "-12") == 0 ? "PIN timed out"
                                                                    : answer.c_str());
        return "";
    }
    return answer.substr(2);
}

std::string maskedPan(const std::string &pan) {
    return pan.substr(0, 6) + std::string(pan.size() - 10, '*') + pan.substr(pan.size() - 4);
}

std::string now() {
    time_t t = time(nullptr);
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", gmtime(&t));
    return text;
}

// One sale as stored: "DATE|AMOUNT|METHOD|MASKED PAN|KSN|PIN BLOCK".
bool store(void *table, const std::string &line, int number) {
    char record[kRecordSize] = {};
    snprintf(record, sizeof record, "%s", line.c_str());
    char key[16];
    snprintf(key, sizeof key, "T%06d", number);
    return DB_nAppendRecByKey(table, key, record, kRecordSize) == kRecordSize;
}

// The receipt. This build of the SDK has no printer functions: it goes to the output.
void printReceipt(const std::string &date, long amount, const Card &card, int number) {
    OsLog(LOG_LEVEL_INFO, "no printer on this build: the receipt goes to the output\n");
    printf("----- receipt -----\nSALE %06d  %s\n%s %s\nAMOUNT  %s\nAPPROVED\n-------------------\n",
           number, date.c_str(), card.method.c_str(), maskedPan(card.pan).c_str(),
           amountText(amount).c_str());
}

void speak(const char *text) {
    if (OsTtsTextToSpeech(text, static_cast<int>(strlen(text)), TTS_ENCODING_UTF8, 105, 100, 100,
                          0) != 0) {
        OsLog(LOG_LEVEL_WARN, "could not speak \"%s\"\n", text);
        return;
    }
    usleep(200 * 1000);
    for (int waited = 0; OsTtsIsBusy() == 1 && waited < 10000; waited += kPollMs)
        usleep(kPollMs * 1000);
}

void listSales(void *table) {
    int count = DB_nGetRecordSUM(table);
    printf("%d sale%s\n", count < 0 ? 0 : count, count == 1 ? "" : "s");
    for (int i = 0; i < count; ++i) {
        char record[kRecordSize + 1] = {};
        if (DB_nReadRec(table, i, kRecordSize, record) == kRecordSize) printf("  %s\n", record);
    }
}

}  // namespace

int main(int argc, char **argv) {
    Options o;
    if (!parseOptions(argc, argv, o)) {
        fprintf(
            stderr,
            "usage: sale [--amount CENTS] [--wait SECONDS] [--db DIR] | sale --list [--db DIR]\n");
        return 2;
    }
    OsLogSetTag("SALE");
    void *table = nullptr;
    if (DB_bInitBySysService(o.dbDir.c_str(), kAppId) != 0 ||
        (table = DB_hOpen(kTable, kRecordSize)) == nullptr) {
        fprintf(stderr, "sale: no database in %s\n", o.dbDir.c_str());
        return 2;
    }
    if (o.list) {
        listSales(table);
        return 0;
    }
    long amount = enterAmount(o.amount);
    Card card;
    if (!waitForCard(o.waitSeconds, card)) {
        printf("declined: no card read\n");
        return 1;
    }
    printf("card %s %s\n", card.method.c_str(), maskedPan(card.pan).c_str());
    std::string pin = takePin(card, o.waitSeconds);
    if (pin.empty()) return 1;
    int number = DB_nGetRecordSUM(table) + 1;
    std::string date = now();
    std::string line = date + "|" + amountText(amount) + "|" + card.method + "|" +
                       maskedPan(card.pan) + "|" + pin.substr(pin.find('|') + 1) + "|" +
                       pin.substr(0, pin.find('|'));
    if (!store(table, line, number)) {
        printf("declined: the sale could not be stored\n");
        return 1;
    }
    printReceipt(date, amount, card, number);
    printf("approved\n");
    fflush(stdout);
    speak("approved");
    listSales(table);
    DB_vClose(table);
    DB_vUnInit();
    return 0;
}
