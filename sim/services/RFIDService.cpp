#include "RFIDService.h"

#include <pos_sdk/service/IRFIDManager.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <stdexcept>

using android::IRFIDManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kMaxTimeoutMs = 600000;
const int kAnyType = 0, kTypeA = 1, kTypeB = 2, kTypeFelica = 3;

// MIFARE Classic commands, by their command codes.
const int kMifareAuthA = 0x60, kMifareAuthB = 0x61, kMifareRead = 0x30, kMifareWrite = 0xA0;
const int kMifareIncrement = 0xC1, kMifareDecrement = 0xC0, kMifareRestore = 0xC2,
          kMifareTransfer = 0xB0;
const size_t kMifareBlock = 16;

// FeliCa commands and their answers.
const uint8_t kFelicaPolling = 0x00, kFelicaRequestResponse = 0x04;
const uint8_t kFelicaRead = 0x06, kFelicaWrite = 0x08;
// Status flag 2 of a refused read or write: the number of services, of blocks, an unknown
// service, a block beyond the service, a service that cannot be written.
const uint8_t kBadServiceCount = 0xA1, kBadBlockCount = 0xA2, kUnknownService = 0xA6,
              kBadBlock = 0xA8, kReadOnly = 0xA9;

std::string failure(int code) {
    switch (code) {
        case kCardNotOpen:
            return cardError(code, "the reader is not open");
        case kCardNotPowered:
            return cardError(code, "the RF field is off");
        default:
            return cardError(code, "no card in the field");
    }
}

bool validTimeout(int timeout) {
    return timeout >= 0 && timeout <= kMaxTimeoutMs;
}

// The FeliCa answer frame: its length byte, the answer code, the IDm and the rest.
std::string felicaAnswer(uint8_t code, const ByteString &idm, const ByteString &rest) {
    ByteString frame = {0, code};
    frame.insert(frame.end(), idm.begin(), idm.end());
    frame.insert(frame.end(), rest.begin(), rest.end());
    frame[0] = static_cast<uint8_t>(frame.size());
    return toHex(frame);
}

}  // namespace

RFIDService::RFIDService(const json &section) : SimService("com.kivo.device.manager.IRFIDManager") {
    load(section);
    onStatus(IRFIDManager::OPEN, [this](const Parcel &request, ReplyFields &) {
        (void)request.readInt32();  // the mode: one way of working is simulated
        mState.open = true;
        return 0;
    });
    onStatus(IRFIDManager::CLOSE, [this](const Parcel &, ReplyFields &) {
        mState.open = mState.fieldOn = false;
        deactivate();
        return 0;
    });
    onStatus(IRFIDManager::SELECT_CARD_TYPE, [this](const Parcel &request, ReplyFields &) {
        int type = request.readInt32(), rate = request.readInt32();
        if (!mState.open) return kCardNotOpen;
        if (type < kAnyType || type > kTypeFelica ||
            (rate != 106 && rate != 212 && rate != 424 && rate != 848)) {
            return kCardBadArgument;
        }
        mState.cardType = type;
        mState.rate = rate;
        deactivate();
        return 0;
    });
    onStatus(IRFIDManager::POWER_ON, [this](const Parcel &, ReplyFields &) {
        if (!mState.open) return kCardNotOpen;
        mState.fieldOn = true;
        return 0;
    });
    onStatus(IRFIDManager::POWER_OFF, [this](const Parcel &, ReplyFields &) {
        if (!mState.open) return kCardNotOpen;
        mState.fieldOn = false;
        deactivate();  // without the field every card resets
        return 0;
    });
    onText(IRFIDManager::SEARCH_CARD, [this](const Parcel &request, ReplyFields &) {
        return validTimeout(request.readInt32()) ? search()
                                                 : cardError(kCardBadArgument, "time-out");
    });
    onText(IRFIDManager::APDU_COMM, [this](const Parcel &request, ReplyFields &) {
        std::string text;
        bool present = readText16(request, &text);
        if (!validTimeout(request.readInt32())) return cardError(kCardBadArgument, "time-out");
        return present ? apdu(text) : cardError(kCardBadArgument, "no command");
    });
    onText(IRFIDManager::MIFARE_CARD_COMM, [this](const Parcel &request, ReplyFields &) {
        int command = request.readInt32();
        std::string text;
        bool present = readText16(request, &text);
        if (!validTimeout(request.readInt32())) return cardError(kCardBadArgument, "time-out");
        return present ? mifare(command, text) : cardError(kCardBadArgument, "no data");
    });
    // Looks with the field switched on for the search alone: nothing is selected.
    onStatus(
        IRFIDManager::SEARCH_CARD_WITHOUT_POWER_ON, [this](const Parcel &request, ReplyFields &) {
            if (!validTimeout(request.readInt32())) return kCardBadArgument;
            if (!mState.open) return kCardNotOpen;
            bool typed = mState.inField && mState.card->hasContactless &&
                         mState.card->contactless.type != 'F' && mState.cardType != kTypeFelica;
            return typed ? kCardDone : kCardAbsent;
        });
    onText(IRFIDManager::CARD_POWER_ON, [this](const Parcel &request, ReplyFields &) {
        return validTimeout(request.readInt32()) ? activate()
                                                 : cardError(kCardBadArgument, "time-out");
    });
    onStatus(IRFIDManager::CARD_POWER_OFF, [this](const Parcel &request, ReplyFields &) {
        (void)request.readInt32();  // the time-out: switching off takes none
        if (!mState.open) return kCardNotOpen;
        deactivate();
        return 0;
    });
    onText(IRFIDManager::FELICA_SEARCH_POWER_ON, [this](const Parcel &request, ReplyFields &) {
        return validTimeout(request.readInt32()) ? felicaPoll()
                                                 : cardError(kCardBadArgument, "time-out");
    });
    onText(IRFIDManager::FELICA_APDU_COMM, [this](const Parcel &request, ReplyFields &) {
        std::string text;
        bool present = readText16(request, &text);
        if (!validTimeout(request.readInt32())) return cardError(kCardBadArgument, "time-out");
        return present ? felica(text) : cardError(kCardBadArgument, "no frame");
    });
}

json RFIDService::state() const {
    return {{"card", cardState(mState.card)},
            {"in_field", mState.inField},
            {"open", mState.open},
            {"field_on", mState.fieldOn},
            {"card_type", mState.cardType},
            {"rate", mState.rate},
            {"stage", mState.stage},
            {"auth_sector", mState.authSector},
            {"auth_key", mState.authKey},
            {"transfer_ready", mState.transferReady},
            {"transfer_value", mState.transferValue},
            {"transfer_address", mState.transferAddress},
            {"last_command", mState.lastCommand},
            {"exchanges", mState.exchanges}};
}

void RFIDService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    if (values.contains("card")) s.card = cardOfState(values["card"]);
    takeBool(values, "in_field", s.inField);
    takeBool(values, "open", s.open);
    takeBool(values, "field_on", s.fieldOn);
    takeInt(values, "card_type", s.cardType);
    takeInt(values, "rate", s.rate);
    takeInt(values, "stage", s.stage);
    takeInt(values, "auth_sector", s.authSector);
    takeText(values, "auth_key", s.authKey);
    takeBool(values, "transfer_ready", s.transferReady);
    takeInt(values, "transfer_value", s.transferValue);
    takeInt(values, "transfer_address", s.transferAddress);
    takeText(values, "last_command", s.lastCommand);
    takeInt(values, "exchanges", s.exchanges);
    if (s.inField && !(s.card && s.card->hasContactless)) {
        throw std::invalid_argument("in_field: there is no contactless card");
    }
    if (s.cardType < kAnyType || s.cardType > kTypeFelica) {
        throw std::invalid_argument("card_type: 0 to 3");
    }
    if (s.stage < kIdle || s.stage > kFelica || (s.stage != kIdle && !(s.inField && s.fieldOn))) {
        throw std::invalid_argument("stage: 0 to 3, and a card in a switched-on field");
    }
    int sectors =
        s.card && s.card->hasContactless ? static_cast<int>(s.card->contactless.mifare.size()) : 0;
    if (s.authSector < -1 || s.authSector >= sectors ||
        (s.authSector >= 0 && s.authKey != "A" && s.authKey != "B")) {
        throw std::invalid_argument(
            "auth_sector: -1 or a sector of the card, with auth_key A or B");
    }
    mState = std::move(s);
}

// tap [file=NAME | card=JSON]: a card comes into the field (without a name: the last one
// again); remove: it leaves, whatever was going on with it.
void RFIDService::event(const std::string &name, const json &args) {
    if (name == "tap") {
        std::optional<Card> card = cardOfEvent(args);
        if (!card && !mState.card) throw std::invalid_argument("tap needs file=NAME");
        if (card && !card->hasContactless)
            throw std::invalid_argument("the card is not contactless");
        if (card) mState.card = std::move(card);
        mState.inField = true;
        deactivate();
    } else if (name == "remove") {
        mState.inField = false;
        deactivate();
    } else {
        SimService::event(name, args);
    }
}

void RFIDService::deactivate() {
    mState.transferReady = false;
    mState.stage = kIdle;
    mState.authSector = -1;
    mState.authKey.clear();
}

int RFIDService::reachable() const {
    if (!mState.open) return kCardNotOpen;
    if (!mState.fieldOn) return kCardNotPowered;
    if (!mState.inField) return kCardAbsent;
    char type = mState.card->contactless.type;
    bool wanted = mState.cardType == kAnyType ? type != 'F'
                  : mState.cardType == kTypeA ? type == 'A'
                  : mState.cardType == kTypeB ? type == 'B'
                                              : mState.card->contactless.hasFelica;
    return wanted ? kCardDone : kCardAbsent;
}

// The card found: "TYPE,UID,ATQA,SAK" for type A, "B,UID" for type B.
std::string RFIDService::search() {
    int status = reachable();
    if (status != kCardDone || mState.cardType == kTypeFelica) return failure(status);
    const ContactlessPart &c = mState.card->contactless;
    deactivate();
    mState.stage = kSelected;
    if (c.type == 'B') return "B," + toHex(c.uid);
    return "A," + toHex(c.uid) + "," + toHex(c.atqa) + "," + toHex(c.sak);
}

std::string RFIDService::activate() {
    if (mState.stage != kSelected && mState.stage != kActive) {
        std::string found = search();
        if (found.compare(0, 5, "ERROR") == 0) return found;
    }
    const ContactlessPart &c = mState.card->contactless;
    if (c.ats.empty()) return cardError(kCardUnsupported, "not an ISO 14443-4 card");
    mState.stage = kActive;
    return toHex(c.ats);
}

std::string RFIDService::apdu(const std::string &text) {
    int status = reachable();
    if (status != kCardDone) return failure(status);
    if (mState.stage != kActive) return cardError(kCardNotPowered, "the card is not activated");
    ByteString command;
    std::string error;
    if (!parseHex(text, command, error)) return cardError(kCardBadArgument, "command: " + error);
    if (command.size() < 4 || command.size() > kMaxCommandApdu) {
        return cardError(kCardBadArgument, "command: an APDU has 4 to 261 bytes");
    }
    mState.lastCommand = toHex(command);
    ++mState.exchanges;
    return toHex(mState.card->contactless.apdus.answer(command));
}

// MIFARE Classic: 60/61 authenticate (data: block and key), 30 read (data: block), A0 write
// (data: block and 16 bytes), C1/C0/C2 increment, decrement and restore (data: block and
// operand), B0 transfer (data: block). Blocks are numbered over the card, four to a sector.
std::string RFIDService::mifare(int command, const std::string &text) {
    int status = reachable();
    if (status != kCardDone) return failure(status);
    if (mState.stage != kSelected) return cardError(kCardNotPowered, "no card selected");
    if (mState.card->contactless.mifare.empty()) {
        return cardError(kCardUnsupported, "not a MIFARE Classic card");
    }
    ByteString data;
    std::string error;
    if (!parseHex(text, data, error)) return cardError(kCardBadArgument, "data: " + error);
    if (data.empty()) return cardError(kCardBadArgument, "data: no block number");
    int blocks = static_cast<int>(mState.card->contactless.mifare.size()) * 4;
    if (data[0] >= blocks)
        return cardError(kCardBadArgument, "no block " + std::to_string(data[0]));
    mState.lastCommand = toHex(data);
    ++mState.exchanges;
    switch (command) {
        case kMifareAuthA:
            return mifareAuthenticate('A', data);
        case kMifareAuthB:
            return mifareAuthenticate('B', data);
        case kMifareRead:
            if (data.size() != 1) return cardError(kCardBadArgument, "data: the block alone");
            return mifareRead(data[0]);
        case kMifareWrite:
            if (data.size() != 1 + kMifareBlock) {
                return cardError(kCardBadArgument, "data: the block and 16 bytes");
            }
            return mifareWrite(data[0], ByteString(data.begin() + 1, data.end()));
        case kMifareIncrement:
        case kMifareDecrement:
        case kMifareRestore:
            return mifareValue(command, data);
        case kMifareTransfer:
            if (data.size() != 1) return cardError(kCardBadArgument, "data: the block alone");
            return mifareTransfer(data[0]);
        default:
            return cardError(kCardUnsupported, "unknown MIFARE command");
    }
}

namespace {

// A value block: the value, its complement and the value again (four bytes each, low byte
// first), then an address byte, its complement, the address and its complement.
bool valueOf(const ByteString &block, int32_t *value) {
    uint32_t v[3];
    for (int i = 0; i < 3; ++i) {
        v[i] = uint32_t(block[4 * i]) | uint32_t(block[4 * i + 1]) << 8 |
               uint32_t(block[4 * i + 2]) << 16 | uint32_t(block[4 * i + 3]) << 24;
    }
    *value = static_cast<int32_t>(v[0]);
    return v[0] == v[2] && v[1] == ~v[0] && block[12] == block[14] && block[13] == block[15] &&
           block[12] == uint8_t(~block[13]);
}

ByteString valueBlock(int32_t value, uint8_t address) {
    ByteString block;
    for (uint32_t word : {uint32_t(value), ~uint32_t(value), uint32_t(value)}) {
        for (int shift = 0; shift < 32; shift += 8) block.push_back(uint8_t(word >> shift));
    }
    block.insert(block.end(), {address, uint8_t(~address), address, uint8_t(~address)});
    return block;
}

}  // namespace

// Increment (C1), decrement (C0) and restore (C2) take a value block into the card's transfer
// buffer, changed by the operand (four bytes, low first); transfer (B0) writes the buffer to a
// block. Increment needs the increment right, the others the decrement right, as on the card.
std::string RFIDService::mifareValue(int command, const ByteString &data) {
    bool restore = command == kMifareRestore;
    if (data.size() != 5 && !(restore && data.size() == 1)) {
        return cardError(kCardBadArgument, "data: the block and a 4-byte operand");
    }
    int block = data[0], sector = block / 4, index = block % 4;
    if (sector != mState.authSector) return cardError(kCardDenied, "sector not authenticated");
    const MifareSector &s = mState.card->contactless.mifare[sector];
    MifareRight right =
        command == kMifareIncrement ? MifareRight::Increment : MifareRight::Decrement;
    if (!mifareAllows(s.access, index, mState.authKey[0], right)) {
        return cardError(kCardDenied, "the access bits refuse it");
    }
    int32_t value = 0;
    if (!valueOf(s.blocks[index], &value)) return cardError(kCardBadArgument, "not a value block");
    int64_t operand = 0;
    if (!restore) {
        operand = int32_t(uint32_t(data[1]) | uint32_t(data[2]) << 8 | uint32_t(data[3]) << 16 |
                          uint32_t(data[4]) << 24);
    }
    int64_t result = command == kMifareDecrement ? value - operand : value + operand;
    if (result < INT32_MIN || result > INT32_MAX) return cardError(kCardBadArgument, "overflow");
    mState.transferValue = static_cast<int>(result);
    mState.transferAddress = s.blocks[index][12];
    mState.transferReady = true;
    return "OK";
}

std::string RFIDService::mifareTransfer(int block) {
    int sector = block / 4, index = block % 4;
    if (sector != mState.authSector) return cardError(kCardDenied, "sector not authenticated");
    if (!mState.transferReady) return cardError(kCardBadArgument, "nothing to transfer");
    MifareSector &s = mState.card->contactless.mifare[sector];
    if (index == 3 || !mifareAllows(s.access, index, mState.authKey[0], MifareRight::Decrement)) {
        return cardError(kCardDenied, "the access bits refuse it");
    }
    s.blocks[index] = valueBlock(mState.transferValue, uint8_t(mState.transferAddress));
    mState.transferReady = false;
    return "OK";
}

std::string RFIDService::mifareAuthenticate(char kind, const ByteString &data) {
    if (data.size() != 7) return cardError(kCardBadArgument, "data: the block and a 6-byte key");
    int sector = data[0] / 4;
    const MifareSector &s = mState.card->contactless.mifare[sector];
    // A failed authentication halts the card: it must be selected again.
    if (ByteString(data.begin() + 1, data.end()) != (kind == 'A' ? s.keyA : s.keyB)) {
        deactivate();
        return cardError(kCardDenied, "authentication failed");
    }
    mState.authSector = sector;
    mState.authKey = std::string(1, kind);
    return "OK";
}

std::string RFIDService::mifareRead(int block) {
    int sector = block / 4, index = block % 4;
    if (sector != mState.authSector) return cardError(kCardDenied, "sector not authenticated");
    const MifareSector &s = mState.card->contactless.mifare[sector];
    char key = mState.authKey[0];
    if (!mifareAllows(s.access, index, key, MifareRight::Read)) {
        return cardError(kCardDenied, "the access bits refuse reading");
    }
    if (index < 3) return toHex(s.blocks[index]);
    // A trailer reads key A as zeros, and key B only where the access bits let it be read.
    ByteString trailer(6, 0);
    trailer.insert(trailer.end(), s.access.begin(), s.access.end());
    bool keyB = mifareAllows(s.access, 3, key, MifareRight::ReadKeyB);
    const ByteString hidden(6, 0);
    trailer.insert(trailer.end(), (keyB ? s.keyB : hidden).begin(), (keyB ? s.keyB : hidden).end());
    return toHex(trailer);
}

std::string RFIDService::mifareWrite(int block, const ByteString &data) {
    int sector = block / 4, index = block % 4;
    if (sector != mState.authSector) return cardError(kCardDenied, "sector not authenticated");
    if (block == 0) return cardError(kCardDenied, "the manufacturer block cannot be written");
    MifareSector &s = mState.card->contactless.mifare[sector];
    char key = mState.authKey[0];
    if (index < 3) {
        if (!mifareAllows(s.access, index, key, MifareRight::Write)) {
            return cardError(kCardDenied, "the access bits refuse writing");
        }
        s.blocks[index] = data;
        return "OK";
    }
    // A trailer takes the parts the key may write; the others stay as they are.
    ByteString keyA(data.begin(), data.begin() + 6), access(data.begin() + 6, data.begin() + 10);
    ByteString keyB(data.begin() + 10, data.end());
    bool writeA = mifareAllows(s.access, 3, key, MifareRight::WriteKeyA);
    bool writeAccess = mifareAllows(s.access, 3, key, MifareRight::WriteAccess);
    bool writeB = mifareAllows(s.access, 3, key, MifareRight::WriteKeyB);
    if (!writeA && !writeAccess && !writeB) {
        return cardError(kCardDenied, "the access bits refuse writing the trailer");
    }
    if (writeAccess && !mifareAccessValid(access)) {
        return cardError(kCardBadArgument, "access bits whose inverted copies disagree");
    }
    if (writeA) s.keyA = keyA;
    if (writeAccess) s.access = access;
    if (writeB) s.keyB = keyB;
    return "OK";
}

// The FeliCa card found: its IDm and PMm.
std::string RFIDService::felicaPoll() {
    if (!mState.open) return failure(kCardNotOpen);
    mState.fieldOn = true;  // the FeliCa search switches the field on itself
    if (!mState.inField || !mState.card->contactless.hasFelica) return failure(kCardAbsent);
    deactivate();
    mState.stage = kFelica;
    const FelicaPart &f = mState.card->contactless.felica;
    return toHex(f.idm) + toHex(f.pmm);
}

// A FeliCa command frame (its length byte first) in, the card's answer frame out.
std::string RFIDService::felica(const std::string &text) {
    if (!mState.open) return failure(kCardNotOpen);
    if (!mState.inField) return failure(kCardAbsent);
    if (mState.stage != kFelica) return cardError(kCardNotPowered, "no FeliCa card polled");
    ByteString frame;
    std::string error;
    if (!parseHex(text, frame, error)) return cardError(kCardBadArgument, "frame: " + error);
    if (frame.size() < 2 || frame[0] != frame.size()) {
        return cardError(kCardBadArgument, "frame: the first byte is the frame's length");
    }
    const FelicaPart &f = mState.card->contactless.felica;
    mState.lastCommand = toHex(frame);
    ++mState.exchanges;
    if (frame[1] == kFelicaPolling) {
        if (frame.size() != 6) return cardError(kCardBadArgument, "frame: polling has 6 bytes");
        uint16_t code = static_cast<uint16_t>(frame[2] << 8 | frame[3]);
        if (code != 0xFFFF && code != f.systemCode) return failure(kCardAbsent);
        ByteString rest = f.pmm;
        if (frame[4] == 1) {  // request code 1 asks for the system code too
            rest.insert(rest.end(), {uint8_t(f.systemCode >> 8), uint8_t(f.systemCode & 0xFF)});
        }
        return felicaAnswer(kFelicaPolling + 1, f.idm, rest);
    }
    if (frame.size() < 10) return cardError(kCardBadArgument, "frame: no IDm");
    if (!std::equal(f.idm.begin(), f.idm.end(), frame.begin() + 2)) {
        return failure(kCardAbsent);  // no card answers to another IDm
    }
    switch (frame[1]) {
        case kFelicaRequestResponse:
            return felicaAnswer(kFelicaRequestResponse + 1, f.idm, {0});
        case kFelicaRead:
            return felicaRead(frame, false);
        case kFelicaWrite:
            return felicaRead(frame, true);
        default:
            return cardError(kCardUnsupported, "unknown FeliCa command");
    }
}

// Read (06) or write (08) without encryption: the services, the block list and, for a write,
// the blocks' data. The answer carries two status flags (00 00 when done).
std::string RFIDService::felicaRead(const ByteString &frame, bool write) {
    FelicaPart &f = mState.card->contactless.felica;
    const uint8_t answer = write ? kFelicaWrite + 1 : kFelicaRead + 1;
    auto refuse = [&](uint8_t flag) { return felicaAnswer(answer, f.idm, {0x01, flag}); };
    size_t at = 10;
    if (frame.size() <= at) return refuse(kBadServiceCount);
    size_t services = frame[at++];
    if (services < 1 || services > 16 || at + 2 * services >= frame.size()) {
        return refuse(kBadServiceCount);
    }
    std::vector<uint16_t> codes;
    for (size_t i = 0; i < services; ++i, at += 2) {
        codes.push_back(static_cast<uint16_t>(frame[at + 1] << 8 | frame[at]));  // low byte first
    }
    size_t count = frame[at++];
    if (count < 1 || count > 15) return refuse(kBadBlockCount);
    std::vector<std::pair<uint16_t, size_t>> blocks;  // service code, block number
    for (size_t i = 0; i < count; ++i) {
        if (at + 2 > frame.size()) return refuse(kBadBlockCount);
        bool shortForm = frame[at] & 0x80;
        size_t index = frame[at] & 0x0F;
        if (!shortForm && at + 3 > frame.size()) return refuse(kBadBlockCount);
        size_t number = shortForm ? frame[at + 1] : size_t(frame[at + 1] | frame[at + 2] << 8);
        at += shortForm ? 2 : 3;
        if (index >= codes.size() || f.services.count(codes[index]) == 0) {
            return refuse(kUnknownService);
        }
        if (number >= f.services[codes[index]].size()) return refuse(kBadBlock);
        // Service attribute 09: read and write without a key; others here are read-only.
        if (write && (codes[index] & 0x3F) != 0x09) return refuse(kReadOnly);
        blocks.push_back({codes[index], number});
    }
    if (!write) {
        if (at != frame.size()) return cardError(kCardBadArgument, "frame: bytes after the list");
        ByteString rest = {0x00, 0x00, static_cast<uint8_t>(count)};
        for (const auto &[code, number] : blocks) {
            const ByteString &data = f.services[code][number];
            rest.insert(rest.end(), data.begin(), data.end());
        }
        return felicaAnswer(answer, f.idm, rest);
    }
    if (frame.size() - at != 16 * count) return cardError(kCardBadArgument, "frame: block data");
    for (const auto &[code, number] : blocks) {
        f.services[code][number].assign(frame.begin() + long(at), frame.begin() + long(at) + 16);
        at += 16;
    }
    return felicaAnswer(answer, f.idm, {0x00, 0x00});
}

}  // namespace possim
