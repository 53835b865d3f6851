// A card sale from end to end on the SDK: the amount typed on the screen, a card from any
// reader (chip, stripe or contactless), the customer's PIN under the terminal's DUKPT key, the
// transaction stored in the record database, the receipt printed (and on the output), "approved"
// on the screen and spoken, and the sales so far listed. A receipt the printer cannot print is
// reported on the screen and in the log; the sale, already stored, is still approved.
//
//   sale [--amount CENTS] [--wait SECONDS] [--db DIR]     one sale (the amount typed on the
//                                                         screen unless --amount gives it)
//   sale --list [--db DIR]                                the sales stored so far
//
// Exit status: 0 approved, 1 declined (no amount, no card, PIN cancelled or timed out, a
// reader or the PIN pad failing), 2 a wrong command line or no database.
#include <pos_sdk/pos_sdk.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace {

const char kAppId[] = "com.example.sale";
const char kTable[] = "sales";
const int kRecordSize = 256;  // one sale as a line of text, padded with zeros
const int kDukptKey = 0;      // the terminal's DUKPT key for PIN blocks
const int kPollMs = 100;
// Disp_GetKey's codes of the keys the sale answers.
const int kKeyCancel = 14;
// How long the result stays on the screen unless a key is pressed.
const int kResultMs = 3000;

struct Options {
    long amount = 0;  // in cents; 0: typed on the screen
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

// A whole screen: a title bar and up to four lines below it. Text lines wait for the next
// refresh; the rule under the title, a drawing that refreshes, brings them up together.
void showScreen(const char *title, const std::string &line2, const std::string &line3 = "",
                const std::string &line4 = "", const std::string &line5 = "") {
    Disp_vClearPort();
    Disp_vShowStr(0, 1, 0, "%s", title);  // style 1: white on blue
    Disp_vShowStr(1, 0, 0, "%s", line2.c_str());
    Disp_vShowStr(2, 0, 0, "%s", line3.c_str());
    Disp_vShowStr(3, 0, 0, "%s", line4.c_str());
    if (!line5.empty()) Disp_vShowStr(4, 0, 0, "%s", line5.c_str());
    Disp_vDrawLineAt(0, 213, 800, 213, 4, 0);
}

// The amount typed on the screen's amount view, in cents; 0 when it was cancelled or nobody
// typed in time. A zero amount is asked again.
long typedAmount(int seconds) {
    for (;;) {
        char digits[16] = {};
        if (Disp_nShowAmountInputView(100, 300, 600, 500, "$", 1, 8, sizeof digits, digits, seconds,
                                      0) != 0) {
            return 0;
        }
        long cents = atol(digits);
        if (cents > 0) return cents;
    }
}

// The amount of the sale: from the command line when it gives one, else typed on the screen.
long enterAmount(long given, int seconds) {
    long amount = given > 0 ? given : typedAmount(seconds);
    if (amount > 0) printf("amount %s\n", amountText(amount).c_str());
    fflush(stdout);
    return amount;
}

// The outcome on the screen, kept up until a key or for a few seconds.
void showResult(const char *title, const std::string &line2, const std::string &line3 = "") {
    showScreen(title, line2, line3, "PRESS ANY KEY");
    Disp_GetKey(kResultMs);
}

long elapsedMs(const timespec &since) {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - since.tv_sec) * 1000 + (now.tv_nsec - since.tv_nsec) / 1000000;
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

// Waits for a card at any reader while the screen asks for one; false when none came in time
// or CANCEL was pressed.
bool waitForCard(long amount, int seconds, Card &card) {
    showScreen("SALE", "AMOUNT  $ " + amountText(amount), "insert, swipe or tap card",
               "CANCEL to stop");
    printf("insert, swipe or tap card\n");
    fflush(stdout);
    OsLog(LOG_LEVEL_INFO, "insert, swipe or tap card\n");
    hub()->IICCardOpen(0, 0);
    hub()->IMagcardOpen(0);
    hub()->IRFIDOpen(0);
    hub()->IRFIDSelectCardType(0, 106);
    hub()->IRFIDPowerOn();
    bool found = false;
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    while (!found && elapsedMs(start) < seconds * 1000L) {
        // The keys first: they wait the round's time on a terminal (and return at once where
        // nothing can press one).
        timespec round;
        clock_gettime(CLOCK_MONOTONIC, &round);
        if (Disp_GetKey(kPollMs) == kKeyCancel) break;
        found = chipCard(card) || stripeCard(card) || contactlessCard(card);
        long left = kPollMs - elapsedMs(round);
        if (!found && left > 0) usleep(static_cast<useconds_t>(left) * 1000);
    }
    hub()->IRFIDPowerOff();
    hub()->IRFIDClose();
    hub()->IMagcardClose();
    hub()->IICCardClose(0);
    return found && card.pan.size() >= 13;
}

std::string maskedPan(const std::string &pan) {
    return pan.substr(0, 6) + std::string(pan.size() - 10, '*') + pan.substr(pan.size() - 4);
}

// The customer's PIN as a DUKPT PIN block: "PINBLOCK|KSN", or empty with the REASON.
std::string takePin(const Card &card, int seconds, std::string &reason) {
    if (hub()->IPinpadOpen(kAppId) != 0) {
        reason = "the PIN pad does not open";
        return "";
    }
    showScreen("SALE", card.method + " " + maskedPan(card.pan), "enter PIN on the PIN pad");
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
        reason = answer.compare(0, 3, "-11") == 0   ? "PIN cancelled"
                 : answer.compare(0, 3, "-12") == 0 ? "PIN timed out"
                                                    : answer;
        return "";
    }
    return answer.substr(2);
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

// The receipt on paper: 1-bit rows across the whole roll, the leftmost dot in the high bit.
const int kPaperDots = 384;
const int kPaperRowBytes = kPaperDots / 8;
const int kLineGap = 8;    // blank dots under each line of text
const int kFeedDots = 64;  // blank paper after the receipt, so it clears the tear bar

// One of the SDK's built-in fonts: 256 glyphs indexed by the byte, rows top to bottom.
struct Font {
    const unsigned char *glyphs;
    int width;
    int height;
};
const Font kLarge = {FontSystem16x24, 16, 24};
const Font kSmall = {FontSystem8x16, 8, 16};

struct PaperLine {
    std::string text;
    const Font *font;
    bool centred;
};

struct Paper {
    int height;
    std::vector<unsigned char> dots;  // kPaperRowBytes a row

    explicit Paper(int rows) : height(rows), dots(size_t(rows) * kPaperRowBytes, 0) {}
    void ink(int x, int y) {
        if (x < 0 || x >= kPaperDots || y < 0 || y >= height) return;
        dots[size_t(y) * kPaperRowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
    }
};

std::vector<PaperLine> receiptLines(const std::string &date, long amount, const Card &card,
                                    int number) {
    char sale[24];
    snprintf(sale, sizeof sale, "SALE %06d", number);
    return {{sale, &kLarge, false},
            {date, &kLarge, false},
            {card.method + " " + maskedPan(card.pan), &kLarge, false},
            {"AMOUNT  $ " + amountText(amount), &kLarge, false},
            {"APPROVED", &kLarge, true},
            {"THANK YOU - KEEP THIS RECEIPT", &kSmall, true}};
}

// LINE's glyphs with their top at row TOP; text wider than the paper is cut at its edge.
void drawLine(Paper &paper, int top, const PaperLine &line) {
    const Font &font = *line.font;
    int rowBytes = (font.width + 7) / 8;
    int glyphBytes = rowBytes * font.height;
    size_t count = std::min(line.text.size(), size_t(kPaperDots / font.width));
    int left = line.centred ? (kPaperDots - int(count) * font.width) / 2 : 0;
    for (size_t i = 0; i < count; ++i) {
        const unsigned char *glyph =
            font.glyphs + size_t(static_cast<unsigned char>(line.text[i])) * glyphBytes;
        for (int y = 0; y < font.height; ++y) {
            for (int x = 0; x < font.width; ++x) {
                if (glyph[y * rowBytes + x / 8] & (0x80 >> (x % 8)))
                    paper.ink(left + int(i) * font.width + x, top + y);
            }
        }
    }
}

Paper renderReceipt(const std::vector<PaperLine> &lines) {
    int height = 0;
    for (const PaperLine &line : lines) height += line.font->height + kLineGap;
    Paper paper(height);
    int top = 0;
    for (const PaperLine &line : lines) {
        drawLine(paper, top, line);
        top += line.font->height + kLineGap;
    }
    return paper;
}

// The printer's bitmap text: two hexadecimal digits a byte, row after row.
std::string hexText(const Paper &paper) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(paper.dots.size() * 2);
    for (unsigned char byte : paper.dots) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

// What a printer status means to the person at the terminal.
std::string printerProblem(int status) {
    switch (status) {
        case -2:
            return "the printer is not open";
        case -3:
            return "the printer is out of paper";
        case -4:
            return "the print head is too hot";
        default:
            return "the printer failed (" + std::to_string(status) + ")";
    }
}

// PAPER printed, fed past the tear bar and cut; empty when it was, else what went wrong.
// The printer is closed again whatever happened once it opened.
std::string printPaper(const Paper &paper) {
    int status = hub()->IThermalOpen(0);
    if (status != 0) return "no printer (" + std::to_string(status) + ")";
    status = hub()->IThermalStatus(0);
    if (status == 0)
        status = hub()->IThermalPrintBmp(hexText(paper).c_str(), 0, kPaperDots, paper.height, 0, 0);
    if (status == 0) status = hub()->IThermalFeedPaper(kFeedDots, 1);
    hub()->IThermalClose();
    return status == 0 ? "" : printerProblem(status);
}

// The receipt on the output (scripts read it) and on the printer; empty when it was printed,
// else why not. The sale is already stored: a receipt that cannot be printed loses nothing.
std::string printReceipt(const std::string &date, long amount, const Card &card, int number) {
    printf("----- receipt -----\nSALE %06d  %s\n%s %s\nAMOUNT  %s\nAPPROVED\n-------------------\n",
           number, date.c_str(), card.method.c_str(), maskedPan(card.pan).c_str(),
           amountText(amount).c_str());
    fflush(stdout);
    std::string problem = printPaper(renderReceipt(receiptLines(date, amount, card, number)));
    if (!problem.empty()) {
        printf("receipt not printed: %s\n", problem.c_str());
        OsLog(LOG_LEVEL_WARN, "receipt of sale %d not printed: %s\n", number, problem.c_str());
    }
    return problem;
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

// The sale approved on the screen, with the reason when its receipt could not be printed.
void showApproved(long amount, const Card &card, const std::string &receiptProblem) {
    std::string amountLine = "AMOUNT  $ " + amountText(amount);
    std::string cardLine = card.method + " " + maskedPan(card.pan);
    if (receiptProblem.empty())
        showScreen("APPROVED", amountLine, cardLine, "PRESS ANY KEY");
    else
        showScreen("APPROVED", amountLine, cardLine, "NO RECEIPT: " + receiptProblem,
                   "PRESS ANY KEY");
}

// The sale refused: the reason on the output and on the screen; exit status 1.
int decline(const std::string &reason) {
    printf("declined: %s\n", reason.c_str());
    fflush(stdout);
    showResult("DECLINED", reason);
    return 1;
}

// One sale on the screen, from the amount to the result; the exit status.
int sell(const Options &o, void *table) {
    Disp_vInit();
    long amount = enterAmount(o.amount, o.waitSeconds);
    if (amount <= 0) return decline("no amount");
    Card card;
    if (!waitForCard(amount, o.waitSeconds, card)) return decline("no card read");
    printf("card %s %s\n", card.method.c_str(), maskedPan(card.pan).c_str());
    std::string reason;
    std::string pin = takePin(card, o.waitSeconds, reason);
    if (pin.empty()) return decline(reason);
    int number = DB_nGetRecordSUM(table) + 1;
    std::string date = now();
    std::string line = date + "|" + amountText(amount) + "|" + card.method + "|" +
                       maskedPan(card.pan) + "|" + pin.substr(pin.find('|') + 1) + "|" +
                       pin.substr(0, pin.find('|'));
    if (!store(table, line, number)) return decline("the sale could not be stored");
    showApproved(amount, card, printReceipt(date, amount, card, number));
    printf("approved\n");
    fflush(stdout);
    speak("approved");
    listSales(table);
    Disp_GetKey(kResultMs);
    return 0;
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
    int status = 0;
    if (o.list)
        listSales(table);
    else
        status = sell(o, table);
    DB_vClose(table);
    DB_vUnInit();
    return status;
}
