// The simulated cards the three card reader services hold: what a card file says (ATR, APDU
// table, memory, tracks, contactless identity, MIFARE sectors, FeliCa blocks), read from JSON
// and written back to JSON, and the text forms the services answer in. sim/cards/README.md
// describes the file format and the texts.
#ifndef POS_SIM_CARD_FILE_H
#define POS_SIM_CARD_FILE_H

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace possim {

using ByteString = std::vector<uint8_t>;

// The status codes of the card services, also the code of their error texts.
constexpr int kCardDone = 0;
constexpr int kCardBadArgument = -1;  // slot, track, command or hexadecimal text refused
constexpr int kCardNotOpen = -2;      // the reader was not opened
constexpr int kCardAbsent = -3;       // no card in the slot or in the field (or it was removed)
constexpr int kCardNotPowered = -4;   // the card (or the field) is not powered on / activated
constexpr int kCardUnsupported = -5;  // the card has no such interface or does not know the command
constexpr int kCardDenied = -6;       // authentication failed, or access refused by the access bits
constexpr int kCardNoSwipe = -7;      // nothing has been swiped

// "ERROR <code> <reason>": the answer of a text operation that could not be done. It never
// reads as hexadecimal, so a caller tells it from card data by its first character.
std::string cardError(int code, const std::string &reason);

// Hexadecimal text into bytes; blanks between digits are allowed. False with ERROR for other
// characters or an odd number of digits.
bool parseHex(const std::string &text, ByteString &bytes, std::string &error);
// Upper-case hexadecimal text of BYTES.
std::string toHex(const ByteString &bytes);

// The longest short APDUs: a command of header, Lc, 255 bytes of data and Le; a response of
// 256 bytes of data and the status word.
constexpr size_t kMaxCommandApdu = 261;
constexpr size_t kMaxResponseApdu = 258;

// An APDU table: the first row whose pattern matches answers; no match answers the default
// status word. A pattern is hexadecimal bytes where "??" matches any one byte and a final "*"
// any number of further bytes.
struct ApduRow {
    std::string command;     // the pattern as written
    std::vector<int> bytes;  // a byte, or -1 for "??"
    bool openEnded = false;
    ByteString response;
};

struct ApduTable {
    std::vector<ApduRow> rows;
    ByteString defaultStatus = {0x6D, 0x00};  // instruction not supported

    const ByteString &answer(const ByteString &command) const;
};

struct ContactPart {
    ByteString atr;
    ApduTable apdus;
    ByteString memory;  // a memory card's bytes, for the synchronous commands
};

struct MagstripePart {
    std::array<std::string, 3> tracks;  // the characters of tracks 1 to 3 ("" absent)
};

// A MIFARE Classic sector: its data blocks and the trailer (key A, access bits, key B).
struct MifareSector {
    std::vector<ByteString> blocks;  // 3 data blocks of 16 bytes
    ByteString keyA, keyB;           // 6 bytes each
    ByteString access;               // 4 bytes: the three access bytes and the general byte
};

struct FelicaPart {
    ByteString idm, pmm;  // 8 bytes each
    uint16_t systemCode = 0x0003;
    std::map<uint16_t, std::vector<ByteString>> services;  // service code -> 16-byte blocks
};

struct ContactlessPart {
    char type = 'A';  // 'A' ISO 14443 type A, 'B' type B, 'F' FeliCa only
    ByteString uid, atqa, sak;
    ByteString ats;  // present: the card speaks ISO 14443-4 (APDUs)
    ApduTable apdus;
    std::vector<MifareSector> mifare;  // present: a MIFARE Classic card
    bool hasFelica = false;
    FelicaPart felica;
};

struct Card {
    std::string name;
    bool hasContact = false, hasMagstripe = false, hasContactless = false;
    ContactPart contact;
    MagstripePart magstripe;
    ContactlessPart contactless;
};

// A card from its JSON object; throws std::invalid_argument naming the field it cannot take.
Card cardFromJson(const nlohmann::json &value);
nlohmann::json cardToJson(const Card &card);

// A card as a scenario or the console names it: its JSON object, or the text of a card file
// (an absolute path, a path from the working directory, or the name of a card shipped with
// the simulator, with or without ".json"). Throws std::invalid_argument with the reason.
Card readCard(const nlohmann::json &value);

// The "card" key of a service's state: null (no card), a card's JSON object or a card file's
// name, as readCard takes it; throws std::invalid_argument.
std::optional<Card> cardOfState(const nlohmann::json &value);
nlohmann::json cardState(const std::optional<Card> &card);
// The card an event names with file=NAME or card=JSON; none when it names none.
std::optional<Card> cardOfEvent(const nlohmann::json &args);

// MIFARE Classic access conditions: what the key of KIND ('A' or 'B') may do with data block
// BLOCK (0 to 2) of a sector with ACCESS bytes (Read, Write, Increment, Decrement), or with its
// trailer (BLOCK 3: the other rights; Read there is reading the access bits).
enum class MifareRight {
    Read,
    Write,
    Increment,
    Decrement,
    WriteKeyA,
    WriteAccess,
    ReadKeyB,
    WriteKeyB
};
bool mifareAllows(const ByteString &access, int block, char kind, MifareRight right);
// Whether the three access bytes carry consistent inverted copies.
bool mifareAccessValid(const ByteString &access);

}  // namespace possim

#endif
