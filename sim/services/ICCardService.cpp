#include "ICCardService.h"

#include <pos_sdk/service/IICCardManager.h>

#include <nlohmann/json.hpp>

#include <stdexcept>

using android::IICCardManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

// Slot 0 takes the customer's card; 1 to 3 are the SAM slots, which hold no card here.
const int kUserSlot = 0;
const int kLastSlot = 3;
const int kMaxTimeoutMs = 600000;

// Memory card commands: 30 AAAA LL reads LL bytes (00: 256) from address AAAA; 38 AAAA DD...
// writes the bytes DD... from AAAA and answers them read back.
const uint8_t kMemoryRead = 0x30;
const uint8_t kMemoryWrite = 0x38;

std::string failure(int code) {
    switch (code) {
        case kCardBadArgument:
            return cardError(code, "no such slot or a bad time-out");
        case kCardNotOpen:
            return cardError(code, "the reader is not open");
        case kCardAbsent:
            return cardError(code, "no card in the slot");
        case kCardNotPowered:
            return cardError(code, "the card is not powered on");
        default:
            return cardError(code, "the card has no contacts");
    }
}

}  // namespace

ICCardService::ICCardService(const json &section)
    : SimService("com.kivo.device.manager.IICCardManager") {
    load(section);
    onStatus(IICCardManager::OPEN, [this](const Parcel &request, ReplyFields &) {
        int status = checkSlot(request.readInt32());
        (void)request.readInt32();  // the mode: one way of working is simulated
        if (status == kCardDone) mState.open = true;
        return status;
    });
    onStatus(IICCardManager::CLOSE, [this](const Parcel &request, ReplyFields &) {
        int status = checkSlot(request.readInt32());
        if (status == kCardDone) mState.open = mState.powered = false;
        return status;
    });
    onStatus(IICCardManager::ASYNC_CARD_WORK_ATTR,
             [this](const Parcel &request, ReplyFields &) { return setWorkAttributes(request); });
    onText(IICCardManager::POWER_ON, [this](const Parcel &request, ReplyFields &) {
        int slot = request.readInt32();
        return powerOn(slot, request.readInt32());
    });
    onStatus(IICCardManager::POWER_OFF, [this](const Parcel &request, ReplyFields &) {
        int status = checkSlot(request.readInt32());
        if (status == kCardDone && !mState.open) status = kCardNotOpen;
        if (status == kCardDone) mState.powered = false;
        return status;
    });
    onText(IICCardManager::ASYNC_CARD_COMM,
           [this](const Parcel &request, ReplyFields &) { return exchange(request); });
    onStatus(IICCardManager::DECK_CHECK, [this](const Parcel &request, ReplyFields &) {
        int slot = request.readInt32();
        int status = checkSlot(slot);
        if (status != kCardDone) return status;
        if (!mState.open) return kCardNotOpen;
        return slot == kUserSlot && mState.inserted ? kCardDone : kCardAbsent;
    });
    onText(IICCardManager::SYNC_CARD_COMM,
           [this](const Parcel &request, ReplyFields &) { return memoryCommand(request); });
}

json ICCardService::state() const {
    return {{"card", cardState(mState.card)},
            {"inserted", mState.inserted},
            {"open", mState.open},
            {"powered", mState.powered},
            {"voltage", mState.voltage},
            {"standard", mState.standard},
            {"last_command", mState.lastCommand},
            {"exchanges", mState.exchanges}};
}

void ICCardService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    if (values.contains("card")) s.card = cardOfState(values["card"]);
    takeBool(values, "inserted", s.inserted);
    takeBool(values, "open", s.open);
    takeBool(values, "powered", s.powered);
    takeInt(values, "voltage", s.voltage);
    takeInt(values, "standard", s.standard);
    takeText(values, "last_command", s.lastCommand);
    takeInt(values, "exchanges", s.exchanges);
    if (s.inserted && !s.card) throw std::invalid_argument("inserted: there is no card");
    if (s.powered && !(s.inserted && s.open)) {
        throw std::invalid_argument("powered: the card must be inserted and the reader open");
    }
    mState = std::move(s);
}

// insert [file=NAME | card=JSON]: a card goes into the slot (without a name: the last one
// again); remove: it comes out, powered or not; load file=NAME: the card for the next insert.
void ICCardService::event(const std::string &name, const json &args) {
    if (name == "insert" || name == "load") {
        std::optional<Card> card = cardOfEvent(args);
        if (!card && !mState.card) throw std::invalid_argument(name + " needs file=NAME");
        if (card) mState.card = std::move(card);
        mState.powered = false;
        if (name == "insert") mState.inserted = true;
    } else if (name == "remove") {
        mState.inserted = mState.powered = false;
    } else {
        SimService::event(name, args);
    }
}

int ICCardService::checkSlot(int slot) const {
    return slot >= kUserSlot && slot <= kLastSlot ? kCardDone : kCardBadArgument;
}

int ICCardService::ready(int slot) const {
    if (checkSlot(slot) != kCardDone) return kCardBadArgument;
    if (!mState.open) return kCardNotOpen;
    if (slot != kUserSlot || !mState.inserted) return kCardAbsent;
    if (!mState.card->hasContact) return kCardUnsupported;
    return mState.powered ? kCardDone : kCardNotPowered;
}

std::string ICCardService::powerOn(int slot, int timeout) {
    if (timeout < 0 || timeout > kMaxTimeoutMs) return failure(kCardBadArgument);
    int status = ready(slot);
    if (status != kCardDone && status != kCardNotPowered) return failure(status);
    mState.powered = true;
    return toHex(mState.card->contact.atr);
}

int ICCardService::setWorkAttributes(const Parcel &request) {
    int slot = request.readInt32(), voltage = request.readInt32(), standard = request.readInt32();
    int pps = request.readInt32(), baud = request.readInt32(), timeout = request.readInt32();
    if (checkSlot(slot) != kCardDone || voltage < 1 || voltage > 3 || standard < 0 ||
        standard > 1 || pps < 0 || pps > 1 || baud < 0 || timeout < 0 || timeout > kMaxTimeoutMs) {
        return kCardBadArgument;
    }
    mState.voltage = voltage;
    mState.standard = standard;
    return kCardDone;
}

std::string ICCardService::exchange(const Parcel &request) {
    ByteString command;
    std::string refusal = takeCommand(request, false, command);
    if (!refusal.empty()) return refusal;
    if (command.size() < 4 || command.size() > kMaxCommandApdu) {
        return cardError(kCardBadArgument, "command: an APDU has 4 to 261 bytes");
    }
    mState.lastCommand = toHex(command);
    ++mState.exchanges;
    return toHex(mState.card->contact.apdus.answer(command));
}

// Reads slot, [card type,] command and time-out; an empty text when the card is ready for the
// command, else the refusal to answer.
std::string ICCardService::takeCommand(const Parcel &request, bool withCardType,
                                       ByteString &command) const {
    int slot = request.readInt32();
    if (withCardType) (void)request.readInt32();  // every memory card is addressed alike
    std::string text;
    bool present = readText16(request, &text);
    int timeout = request.readInt32();
    if (timeout < 0 || timeout > kMaxTimeoutMs) return failure(kCardBadArgument);
    int status = ready(slot);
    if (status != kCardDone) return failure(status);
    std::string error;
    if (!present) return cardError(kCardBadArgument, "no command");
    if (!parseHex(text, command, error)) return cardError(kCardBadArgument, "command: " + error);
    return "";
}

std::string ICCardService::memoryCommand(const Parcel &request) {
    ByteString command;
    std::string refusal = takeCommand(request, true, command);
    if (!refusal.empty()) return refusal;
    ByteString &memory = mState.card->contact.memory;
    if (memory.empty()) return cardError(kCardUnsupported, "not a memory card");
    if (command.size() < 3 || (command[0] != kMemoryRead && command[0] != kMemoryWrite)) {
        return cardError(kCardBadArgument, "command: 30 AAAA LL or 38 AAAA DD...");
    }
    size_t address = static_cast<size_t>(command[1] << 8 | command[2]);
    bool read = command[0] == kMemoryRead;
    if (read && command.size() != 4) return cardError(kCardBadArgument, "command: 30 AAAA LL");
    size_t length = read ? (command[3] == 0 ? 256 : command[3]) : command.size() - 3;
    if (length == 0 || address + length > memory.size()) {
        return cardError(kCardBadArgument,
                         "beyond the card's " + std::to_string(memory.size()) + " bytes");
    }
    if (!read) std::copy(command.begin() + 3, command.end(), memory.begin() + address);
    mState.lastCommand = toHex(command);
    ++mState.exchanges;
    return toHex(ByteString(memory.begin() + address, memory.begin() + address + length));
}

}  // namespace possim
