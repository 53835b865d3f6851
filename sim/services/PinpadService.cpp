#include "PinpadService.h"

#include <pos_sdk/service/IPinpadManager.h>

#include <openssl/rand.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include <cctype>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>

using android::IPinpadManager;
using android::Parcel;
using nlohmann::json;
using possim::pinpad::Block;
using possim::pinpad::Data;
using possim::pinpad::Ksn;

namespace possim {

namespace {

// Answer codes: 0 done, 1 a PIN entry still waiting, negative a refusal.
enum Code {
    kDone = 0,
    kWaiting = 1,
    kBadRequest = -1,
    kBadHex = -2,
    kBadKeyLength = -3,
    kBadParity = -4,
    kNoKey = -5,
    kBadIndex = -6,
    kCheckValueMismatch = -7,
    kNotOpen = -8,
    kBusy = -9,
    kNoEntry = -10,
    kCancelled = -11,
    kTimedOut = -12,
    kNoCard = -13,
    kBadLength = -14,
    kMacMismatch = -15,
    kKsnExhausted = -16,
    kBadMode = -17,
    kFailed = -18,
};

// Key types, in requests and in GetKeyState.
enum KeyType { kMaster = 0, kPinKey = 1, kMacKey = 2, kDataKey = 3, kDukpt = 4 };
const int kMaxKeyIndex = 99;
const int kMaxDukptIndex = 9;
const size_t kMaxData = 4096;  // bytes of data in one request
const int kMaxRandom = 256;    // bytes of one random answer
const int kMaxTimeoutSeconds = 300;
const char kFlashDir[] = "/customer/kivo";
const char kKeyDir[] = "/customer/kivo/pinpad";
const char kKeyFile[] = "/customer/kivo/pinpad/keys.json";

// A refused request: its code and why, as the answer's second field says it.
struct Refusal {
    int code;
    std::string why;
};

[[noreturn]] void refuse(int code, const std::string &why) {
    throw Refusal{code, why};
}

std::string answer(int code, const std::string &detail) {
    return std::to_string(code) + "|" + detail;
}

// The request text split at '|'; a null text is refused.
std::vector<std::string> fieldsOf(const Parcel &request, size_t least, size_t most) {
    std::string text;
    if (!readText16(request, &text)) refuse(kBadRequest, "no request text");
    std::vector<std::string> fields;
    size_t from = 0;
    for (size_t bar; (bar = text.find('|', from)) != std::string::npos; from = bar + 1) {
        fields.push_back(text.substr(from, bar - from));
    }
    fields.push_back(text.substr(from));
    if (fields.size() < least || fields.size() > most) {
        refuse(kBadRequest, least == most ? "expected " + std::to_string(least) + " fields"
                                          : "expected " + std::to_string(least) + " to " +
                                                std::to_string(most) + " fields");
    }
    return fields;
}

int numberField(const std::string &field, const char *what) {
    if (field.empty() || field.size() > 9 || field.find_first_not_of("0123456789") != field.npos)
        refuse(kBadRequest, std::string(what) + ": not a number");
    return std::stoi(field);
}

int indexOf(const std::string &field, int max) {
    int index = numberField(field, "index");
    if (index > max) refuse(kBadIndex, "index must be 0 to " + std::to_string(max));
    return index;
}

int keyTypeOf(const std::string &field, int low, int high) {
    int type = numberField(field, "key type");
    if (type < low || type > high) {
        refuse(kBadRequest,
               "key type must be " + std::to_string(low) + " to " + std::to_string(high));
    }
    return type;
}

Data hexField(const std::string &field, const char *what) {
    Data bytes;
    if (!pinpad::fromHex(field, bytes)) refuse(kBadHex, std::string(what) + ": malformed hex");
    return bytes;
}

// A DES key of double or triple length; PARITY asks for odd parity in every byte.
Data keyField(const std::string &field, bool parity) {
    Data key = hexField(field, "key");
    if (key.size() != 16 && key.size() != 24) refuse(kBadKeyLength, "key must be 16 or 24 bytes");
    if (parity && !pinpad::hasOddParity(key)) refuse(kBadParity, "key parity is not odd");
    return key;
}

// An optional check value (4 to 16 hex digits) that must begin KEY's.
void checkKcv(const Data &key, const std::vector<std::string> &fields, size_t at) {
    if (fields.size() <= at || fields[at].empty()) return;
    Data given = hexField(fields[at], "check value");
    if (given.size() < 2 || given.size() > 8) refuse(kBadRequest, "check value: 2 to 8 bytes");
    if (pinpad::checkValue(key, 8).compare(0, given.size() * 2, pinpad::toHex(given)) != 0)
        refuse(kCheckValueMismatch, "check value does not match");
}

Data dataField(const std::string &field, bool wholeBlocks) {
    Data data = hexField(field, "data");
    if (data.size() > kMaxData) refuse(kBadLength, "data longer than 4096 bytes");
    if (wholeBlocks && (data.empty() || data.size() % 8 != 0))
        refuse(kBadLength, "data must be whole 8-byte blocks");
    return data;
}

Ksn ksnField(const std::string &field) {
    Data bytes = hexField(field, "KSN");
    if (bytes.size() != 10) refuse(kBadLength, "KSN must be 10 bytes");
    Ksn ksn;
    std::copy(bytes.begin(), bytes.end(), ksn.begin());
    return ksn;
}

// Encryption modes: 0 ECB encrypt, 1 ECB decrypt, 2 CBC encrypt, 3 CBC decrypt (zero vector).
Data cipher(const Data &key, const std::string &modeField, const Data &data) {
    int mode = numberField(modeField, "mode");
    if (mode > 3) refuse(kBadMode, "mode must be 0 to 3");
    if (mode >= 2) return pinpad::cbc(key, data, mode == 2);
    Data out(data.size());
    pinpad::ecb(key, data.data(), out.data(), data.size(), mode == 0);
    return out;
}

// MAC modes: 1 ANSI X9.19, 2 ISO 9797-1 algorithm 1 with triple DES.
Block macOf(const Data &key, const std::string &modeField, const Data &data) {
    int mode = numberField(modeField, "mode");
    if (mode != 1 && mode != 2) refuse(kBadMode, "mode must be 1 or 2");
    return mode == 1 ? pinpad::retailMac(key, data) : pinpad::cbcMac(key, data);
}

// The digits of a console argument: a text, or a number when the console typed it as one.
std::string digitsArg(const json &args) {
    auto it = args.find("digits");
    if (it == args.end()) throw std::invalid_argument("digits=... is missing");
    std::string digits = it->is_number_unsigned() ? std::to_string(it->get<unsigned long long>())
                         : it->is_string()        ? it->get<std::string>()
                                                  : "";
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
        throw std::invalid_argument("digits must be decimal digits");
    return digits;
}

bool isScriptStep(const std::string &step) {
    return step == "cancel" || step == "timeout" ||
           (step.size() >= 4 && step.size() <= 12 &&
            step.find_first_not_of("0123456789") == std::string::npos);
}

// Handlers that answer "CODE|DETAIL": a refusal becomes its answer, never an escape.
template <typename F>
std::string textAnswer(F &&work) {
    try {
        return work();
    } catch (const Refusal &r) {
        return answer(r.code, r.why);
    } catch (const std::exception &e) {
        return answer(kFailed, e.what());
    }
}

template <typename F>
int statusAnswer(F &&work) {
    try {
        return work();
    } catch (const Refusal &r) {
        return r.code;
    } catch (const std::exception &) {
        return kFailed;
    }
}

}  // namespace

PinpadService::PinpadService(const json &section)
    : SimService("com.kivo.device.manager.IPinpadManager") {
    readKeyFile();
    load(section);
    using P = IPinpadManager;
    auto text = [this](uint32_t code, std::function<std::string(const Parcel &)> work) {
        onText(code, [work](const Parcel &request, ReplyFields &) {
            return textAnswer([&] { return work(request); });
        });
    };
    auto status = [this](uint32_t code, std::function<int(const Parcel &)> work) {
        onStatus(code, [work](const Parcel &request, ReplyFields &) {
            return statusAnswer([&] { return work(request); });
        });
    };
    status(P::OPEN, [this](const Parcel &) {
        mSettings.open = true;
        return kDone;
    });
    status(P::CLOSE, [this](const Parcel &) {
        if (entryPhase() == Entry::Waiting) mEntry.phase = Entry::Cancelled;
        mSettings.open = false;
        return kDone;
    });
    text(P::START_INPUT, [this](const Parcel &r) { return startEntry(r, false); });
    text(P::PUSH_MASTER_KEY, [this](const Parcel &r) { return pushMasterKey(r); });
    text(P::PUSH_WORK_KEY, [this](const Parcel &r) { return pushWorkKey(r); });
    status(P::INIT, [this](const Parcel &r) { return setPinLimits(r); });
    text(P::GET_KEY_STATE, [this](const Parcel &r) {
        int type = r.readInt32();
        return keyState(type, r.readInt32());
    });
    text(P::DATA_DEAL, [this](const Parcel &r) { return dataDeal(r); });
    text(P::MAC_CAL, [this](const Parcel &r) { return mac(r, false); });
    text(P::MAC_CAL_IN, [this](const Parcel &r) { return mac(r, true); });
    text(P::GET_RANDOM, [this](const Parcel &r) {
        requireOpen();
        int length = r.readInt32();
        if (length < 1 || length > kMaxRandom) refuse(kBadLength, "length must be 1 to 256");
        Data bytes(length);
        if (RAND_bytes(bytes.data(), length) != 1) refuse(kFailed, "no random bytes");
        return answer(kDone, pinpad::toHex(bytes));
    });
    text(P::GET_SEC_VER, [this](const Parcel &) { return answer(kDone, mSettings.version); });
    status(P::ERASE_ALL_KEYS, [this](const Parcel &) {
        requireOpen();
        mStore = KeyStore();
        saveKeyFile();
        return kDone;
    });
    status(P::LOAD_KEY, [this](const Parcel &r) { return loadKey(r); });
    text(P::GET_KCV, [this](const Parcel &r) { return checkValueOf(r); });
    status(P::DUKPT_WRITE_KEY, [this](const Parcel &r) { return writeDukptKey(r); });
    text(P::DUKPT_GET_PIN_BLOCK, [this](const Parcel &r) { return startEntry(r, true); });
    text(P::DUKPT_GET_MAC, [this](const Parcel &r) { return dukptCipher(r, true); });
    text(P::DUKPT_GET_DES, [this](const Parcel &r) { return dukptCipher(r, false); });
    text(P::DUKPT_GET_KSN, [this](const Parcel &r) {
        requireOpen();
        return answer(kDone, pinpad::toHex(dukptAt(r.readInt32()).ksn.data(), 10));
    });
    status(P::DUKPT_INC_KSN, [this](const Parcel &r) {
        requireOpen();
        if (!pinpad::dukptAdvance(dukptAt(r.readInt32()).ksn))
            refuse(kKsnExhausted, "no transaction keys left");
        saveKeyFile();
        return kDone;
    });
    text(P::GET_PIN_RESULT, [this](const Parcel &) { return entryResult(false); });
    text(P::DUKPT_GET_PIN_RESULT, [this](const Parcel &) { return entryResult(true); });
    status(P::CTRL_KEY_RESPONSE, [this](const Parcel &r) {
        respond(r.readInt32());
        return kDone;
    });
}

// Every transaction but Open, Close and GetSecVer needs the PIN pad open.
void PinpadService::requireOpen() const {
    if (!mSettings.open) refuse(kNotOpen, "PIN pad not open");
}

// ---- PIN entry ----

// Request "INDEX|PAN", the time-out in seconds: the entry waits for digits and enter.
std::string PinpadService::startEntry(const Parcel &request, bool dukpt) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 2, 2);
    int timeout = request.readInt32();
    if (!mSettings.cardPresent) refuse(kNoCard, "no card");
    if (entryPhase() == Entry::Waiting) refuse(kBusy, "a PIN entry is already waiting");
    int index = indexOf(f[0], dukpt ? kMaxDukptIndex : kMaxKeyIndex);
    if (dukpt) {
        dukptAt(index);
    } else {
        keyAt(kPinKey, index);
    }
    if (!pinpad::validPan(f[1])) refuse(kBadRequest, "PAN: 13 to 19 digits");
    if (timeout < 1 || timeout > kMaxTimeoutSeconds)
        refuse(kBadRequest, "time-out must be 1 to 300 s");
    mEntry = Entry();
    mEntry.phase = Entry::Waiting;
    mEntry.dukpt = dukpt;
    mEntry.keyIndex = index;
    mEntry.pan = f[1];
    mEntry.timeoutSeconds = timeout;
    mEntry.deadline = Clock::now() + std::chrono::seconds(timeout);
    applyScript();
    return mEntry.phase == Entry::Waiting ? answer(kWaiting, "0") : entryResult(dukpt);
}

// The next scripted entry of the scenario, if any, acts on the entry just started.
void PinpadService::applyScript() {
    if (mSettings.scriptedPins.empty()) return;
    std::string step = mSettings.scriptedPins.front();
    mSettings.scriptedPins.pop_front();
    if (step == "cancel") {
        mEntry.phase = Entry::Cancelled;
    } else if (step != "timeout") {
        typeDigits(step);
        enterPin();
    }
}

PinpadService::Entry::Phase PinpadService::entryPhase() const {
    if (mEntry.phase == Entry::Waiting && Clock::now() >= mEntry.deadline) return Entry::TimedOut;
    return mEntry.phase;
}

void PinpadService::expireEntry() {
    mEntry.phase = entryPhase();
    if (mEntry.phase == Entry::TimedOut) mEntry.digits.clear();
}

std::string PinpadService::entryResult(bool dukpt) {
    expireEntry();
    if (mEntry.phase == Entry::Idle || mEntry.dukpt != dukpt) refuse(kNoEntry, "no PIN entry");
    switch (mEntry.phase) {
        case Entry::Waiting:
            return answer(kWaiting, std::to_string(mEntry.digits.size()));
        case Entry::Cancelled:
            return answer(kCancelled, "cancelled");
        case Entry::TimedOut:
            return answer(kTimedOut, "timed out");
        default:
            return mEntry.result;
    }
}

void PinpadService::typeDigits(const std::string &digits) {
    expireEntry();
    if (mEntry.phase != Entry::Waiting) refuse(kNoEntry, "no PIN entry is waiting");
    if (mEntry.digits.size() + digits.size() > size_t(mSettings.pinMax))
        refuse(kBadLength, "a PIN has at most " + std::to_string(mSettings.pinMax) + " digits");
    mEntry.digits += digits;
}

// Enter: the PIN block of the digits typed, under the entry's PIN key or, for DUKPT, under
// the next transaction key.
void PinpadService::enterPin() {
    expireEntry();
    if (mEntry.phase != Entry::Waiting) refuse(kNoEntry, "no PIN entry is waiting");
    if (mEntry.digits.size() < size_t(mSettings.pinMin))
        refuse(kBadLength, "a PIN has at least " + std::to_string(mSettings.pinMin) + " digits");
    Block block;
    pinpad::pinBlockFormat0(mEntry.digits, mEntry.pan, block);
    mEntry.digits.clear();
    mEntry.phase = Entry::Done;
    mEntry.result = textAnswer([&] {
        if (!mEntry.dukpt) {
            pinpad::ecb(keyAt(kPinKey, mEntry.keyIndex), block.data(), block.data(), 8, true);
            return answer(kDone, pinpad::toHex(block));
        }
        DukptKey &key = dukptAt(mEntry.keyIndex);
        if (!pinpad::dukptAdvance(key.ksn)) refuse(kKsnExhausted, "no transaction keys left");
        saveKeyFile();
        Data pinKey = pinpad::dukptPinKey(pinpad::dukptTransactionKey(key.initialKey, key.ksn));
        pinpad::ecb(pinKey, block.data(), block.data(), 8, true);
        return answer(kDone, pinpad::toHex(block) + "|" + pinpad::toHex(key.ksn.data(), 10));
    });
}

// What the application's own keys do to the entry: 0 cancel, 1 enter, 2 clear, 3 backspace.
void PinpadService::respond(int action) {
    expireEntry();
    if (action < 0 || action > 3) refuse(kBadRequest, "action must be 0 to 3");
    if (mEntry.phase != Entry::Waiting) refuse(kNoEntry, "no PIN entry is waiting");
    if (action == 0) {
        mEntry.phase = Entry::Cancelled;
        mEntry.digits.clear();
    } else if (action == 1) {
        enterPin();
    } else if (action == 2) {
        mEntry.digits.clear();
    } else if (!mEntry.digits.empty()) {
        mEntry.digits.pop_back();
    }
}

void PinpadService::event(const std::string &name, const json &args) {
    static const std::map<std::string, int> kActions = {
        {"cancel", 0}, {"enter", 1}, {"clear", 2}, {"backspace", 3}};
    try {
        auto action = kActions.find(name);
        if (action != kActions.end()) {
            respond(action->second);
        } else if (name == "key" || name == "pin") {
            typeDigits(digitsArg(args));
            if (name == "pin") enterPin();
        } else {
            SimService::event(name, args);
        }
    } catch (const Refusal &r) {
        throw std::invalid_argument(r.why);
    }
}

// ---- Keys ----

const Data &PinpadService::keyAt(int type, int index) const {
    auto it = mStore.keys.find({type, index});
    if (it == mStore.keys.end()) refuse(kNoKey, "no key at index " + std::to_string(index));
    return it->second;
}

PinpadService::DukptKey &PinpadService::dukptAt(int index) {
    if (index < 0 || index > kMaxDukptIndex) refuse(kBadIndex, "index must be 0 to 9");
    auto it = mStore.dukpt.find(index);
    if (it == mStore.dukpt.end()) refuse(kNoKey, "no DUKPT key at index " + std::to_string(index));
    return it->second;
}

Data PinpadService::currentDukptKey(DukptKey &key) {
    // A counter of zero names no transaction key: the first one is taken.
    if (pinpad::dukptCounter(key.ksn) == 0) {
        if (!pinpad::dukptAdvance(key.ksn)) refuse(kKsnExhausted, "no transaction keys left");
        saveKeyFile();
    }
    return pinpad::dukptTransactionKey(key.initialKey, key.ksn);
}

void PinpadService::storeKey(int type, int index, const Data &key) {
    mStore.keys[{type, index}] = key;
    saveKeyFile();
}

// Request "INDEX|KEY[|KCV]": a master key in clear.
std::string PinpadService::pushMasterKey(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 2, 3);
    int index = indexOf(f[0], kMaxKeyIndex);
    Data key = keyField(f[1], true);
    checkKcv(key, f, 2);
    storeKey(kMaster, index, key);
    return answer(kDone, pinpad::checkValue(key));
}

// Request "MASTER|TYPE|INDEX|KEY[|KCV]": a work key encrypted under a master key (ECB).
std::string PinpadService::pushWorkKey(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 4, 5);
    const Data &master = keyAt(kMaster, indexOf(f[0], kMaxKeyIndex));
    int type = keyTypeOf(f[1], kPinKey, kDataKey);
    int index = indexOf(f[2], kMaxKeyIndex);
    Data key = keyField(f[3], false);
    pinpad::ecb(master, key.data(), key.data(), key.size(), false);
    if (!pinpad::hasOddParity(key)) refuse(kBadParity, "key parity is not odd");
    checkKcv(key, f, 4);
    storeKey(type, index, key);
    return answer(kDone, pinpad::checkValue(key));
}

// Request "TYPE|INDEX|KEY[|KCV]": a master or work key in clear.
int PinpadService::loadKey(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 3, 4);
    int type = keyTypeOf(f[0], kMaster, kDataKey);
    int index = indexOf(f[1], kMaxKeyIndex);
    Data key = keyField(f[2], true);
    checkKcv(key, f, 3);
    storeKey(type, index, key);
    return kDone;
}

// "0|1" when a key of TYPE is at INDEX, "0|0" when none is.
std::string PinpadService::keyState(int type, int index) const {
    requireOpen();
    if (type < kMaster || type > kDukpt) refuse(kBadRequest, "key type must be 0 to 4");
    if (index < 0 || index > (type == kDukpt ? kMaxDukptIndex : kMaxKeyIndex))
        refuse(kBadIndex, "index out of range");
    bool loaded =
        type == kDukpt ? mStore.dukpt.count(index) != 0 : mStore.keys.count({type, index}) != 0;
    return answer(kDone, loaded ? "1" : "0");
}

// Request "TYPE|INDEX": the key's check value (for DUKPT, the initial key's).
std::string PinpadService::checkValueOf(const Parcel &request) const {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 2, 2);
    int type = keyTypeOf(f[0], kMaster, kDukpt);
    int index = indexOf(f[1], type == kDukpt ? kMaxDukptIndex : kMaxKeyIndex);
    if (type != kDukpt) return answer(kDone, pinpad::checkValue(keyAt(type, index)));
    auto it = mStore.dukpt.find(index);
    if (it == mStore.dukpt.end()) refuse(kNoKey, "no DUKPT key at index " + std::to_string(index));
    return answer(kDone, pinpad::checkValue(it->second.initialKey));
}

// Request "INDEX|MODE|DATA" with the data key at INDEX.
std::string PinpadService::dataDeal(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 3, 3);
    const Data &key = keyAt(kDataKey, indexOf(f[0], kMaxKeyIndex));
    return answer(kDone, pinpad::toHex(cipher(key, f[1], dataField(f[2], true))));
}

// Request "INDEX|MODE|DATA" (MacCal) or "INDEX|MODE|DATA|MAC" (MacCalIn, which checks a MAC
// received: 4 to 8 bytes of it, from the left).
std::string PinpadService::mac(const Parcel &request, bool verify) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, verify ? 4 : 3, verify ? 4 : 3);
    const Data &key = keyAt(kMacKey, indexOf(f[0], kMaxKeyIndex));
    std::string computed = pinpad::toHex(macOf(key, f[1], dataField(f[2], false)));
    if (verify) {
        Data given = hexField(f[3], "MAC");
        if (given.size() < 4 || given.size() > 8) refuse(kBadLength, "MAC: 4 to 8 bytes");
        if (computed.compare(0, given.size() * 2, pinpad::toHex(given)) != 0)
            refuse(kMacMismatch, "MAC does not match");
    }
    return answer(kDone, computed);
}

// Request "INDEX|KIND|KEY|KSN[|KCV]": KIND 0 the device's initial key, 1 a base derivation key
// the initial key is derived from (the simulator's convenience: a device never holds one).
int PinpadService::writeDukptKey(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 4, 5);
    int index = indexOf(f[0], kMaxDukptIndex);
    int kind = numberField(f[1], "kind");
    if (kind > 1) refuse(kBadMode, "kind must be 0 or 1");
    // Initial keys are derived values whose parity X9.24 leaves as it falls.
    Data key = keyField(f[2], kind == 1);
    if (key.size() != 16) refuse(kBadKeyLength, "DUKPT keys are 16 bytes");
    Ksn ksn = ksnField(f[3]);
    if (kind == 1) key = pinpad::dukptInitialKey(key, ksn);
    checkKcv(key, f, 4);
    mStore.dukpt[index] = {key, ksn};
    saveKeyFile();
    return kDone;
}

// Request "INDEX|MODE|DATA" under the current transaction key: a MAC (its MAC variant) or
// the data enciphered (its data variant); "0|RESULT|KSN".
std::string PinpadService::dukptCipher(const Parcel &request, bool mac) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 3, 3);
    DukptKey &key = dukptAt(indexOf(f[0], kMaxDukptIndex));
    Data data = dataField(f[2], !mac);
    Data transactionKey = currentDukptKey(key);
    std::string result =
        mac ? pinpad::toHex(macOf(pinpad::dukptMacKey(transactionKey), f[1], data))
            : pinpad::toHex(cipher(pinpad::dukptDataKey(transactionKey), f[1], data));
    return answer(kDone, result + "|" + pinpad::toHex(key.ksn.data(), 10));
}

// Request "MIN|MAX": the PIN lengths entry accepts, 4 to 12.
int PinpadService::setPinLimits(const Parcel &request) {
    requireOpen();
    std::vector<std::string> f = fieldsOf(request, 2, 2);
    int low = numberField(f[0], "minimum"), high = numberField(f[1], "maximum");
    if (low < 4 || high > 12 || low > high) refuse(kBadRequest, "PIN lengths are 4 to 12");
    mSettings.pinMin = low;
    mSettings.pinMax = high;
    return kDone;
}

// ---- State and the key store file ----

json PinpadService::state() const {
    json keys = json::array(), dukpt = json::array();
    for (const auto &[where, key] : mStore.keys) {
        keys.push_back(
            {{"type", where.first}, {"index", where.second}, {"kcv", pinpad::checkValue(key)}});
    }
    for (const auto &[index, key] : mStore.dukpt) {
        dukpt.push_back({{"index", index},
                         {"ksn", pinpad::toHex(key.ksn.data(), 10)},
                         {"kcv", pinpad::checkValue(key.initialKey)}});
    }
    static const char *const kPhases[] = {"idle", "waiting", "done", "cancelled", "timed out"};
    Entry::Phase phase = entryPhase();
    json entry = {{"state", kPhases[phase]}};
    if (phase != Entry::Idle) entry["kind"] = mEntry.dukpt ? "dukpt" : "pin";
    if (phase == Entry::Waiting) {
        entry["digits"] = mEntry.digits.size();
        entry["seconds_left"] =
            std::chrono::duration_cast<std::chrono::seconds>(mEntry.deadline - Clock::now())
                .count();
    }
    return {{"open", mSettings.open},
            {"card_present", mSettings.cardPresent},
            {"version", mSettings.version},
            {"pin_min", mSettings.pinMin},
            {"pin_max", mSettings.pinMax},
            {"scripted_pins", mSettings.scriptedPins},
            {"keys", keys},
            {"dukpt", dukpt},
            {"entry", entry}};
}

void PinpadService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    Settings s = mSettings;
    takeBool(values, "open", s.open);
    takeBool(values, "card_present", s.cardPresent);
    takeText(values, "version", s.version);
    takeInt(values, "pin_min", s.pinMin);
    takeInt(values, "pin_max", s.pinMax);
    if (s.pinMin < 4 || s.pinMax > 12 || s.pinMin > s.pinMax)
        throw std::invalid_argument("pin_min and pin_max: 4 to 12, the minimum first");
    if (values.contains("scripted_pins")) {
        const json &steps = values["scripted_pins"];
        if (!steps.is_array()) throw std::invalid_argument("scripted_pins: expected a list");
        s.scriptedPins.clear();
        for (const json &step : steps) {
            std::string text = textOf(step, "scripted_pins");
            if (!isScriptStep(text)) {
                throw std::invalid_argument(
                    "scripted_pins: 4 to 12 digits, \"cancel\" or \"timeout\"");
            }
            s.scriptedPins.push_back(text);
        }
    }
    // What the state shows of an entry is not taken: an entry does not outlive its service.
    if (values.contains("entry") && !values["entry"].is_object())
        throw std::invalid_argument("entry: expected an object");
    bool keysGiven = values.contains("keys") || values.contains("dukpt");
    KeyStore store = keysGiven ? storeFrom(values) : mStore;
    mSettings = s;
    if (!keysGiven) return;
    mStore = std::move(store);
    saveKeyFile();
}

// The key store of "keys" and "dukpt" (each absent one as it is). An entry gives its key in
// clear ("key", as a scenario does) or names one already in the store by its check value (as
// the state shows it, which is how a restarted service takes up the kept state).
PinpadService::KeyStore PinpadService::storeFrom(const json &values) const {
    KeyStore store = mStore;
    auto listOf = [&values](const char *name) {
        const json &list = values[name];
        if (!list.is_array()) throw std::invalid_argument(std::string(name) + ": expected a list");
        return list;
    };
    // The key of ENTRY: its "key", or the stored KNOWN one with the check value it gives.
    auto keyOf = [](const json &entry, const std::string &what, const Data *known, bool parity) {
        if (!entry.is_object()) throw std::invalid_argument(what + ": expected an object");
        std::string kcv;
        takeText(entry, "kcv", kcv);
        for (char &c : kcv) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
        Data key;
        if (entry.contains("key")) {
            try {
                key = keyField(textOf(entry["key"], what + ".key"), parity);
            } catch (const Refusal &r) {
                throw std::invalid_argument(what + ": " + r.why);
            }
        } else if (known != nullptr) {
            key = *known;
        } else {
            throw std::invalid_argument(what + ": not in the key store; give its \"key\"");
        }
        if (!kcv.empty() && pinpad::checkValue(key, 8).compare(0, kcv.size(), kcv) != 0)
            throw std::invalid_argument(what + ": check value does not match");
        return key;
    };
    auto intIn = [](const json &entry, const char *key, int low, int high,
                    const std::string &what) {
        int value = -1;
        takeInt(entry, key, value);
        if (value < low || value > high) {
            throw std::invalid_argument(what + ": " + key + " must be " + std::to_string(low) +
                                        " to " + std::to_string(high));
        }
        return value;
    };
    if (values.contains("keys")) {
        store.keys.clear();
        for (const json &entry : listOf("keys")) {
            int type = intIn(entry, "type", kMaster, kDataKey, "keys");
            int index = intIn(entry, "index", 0, kMaxKeyIndex, "keys");
            std::string what = "keys." + std::to_string(type) + "." + std::to_string(index);
            auto known = mStore.keys.find({type, index});
            store.keys[{type, index}] =
                keyOf(entry, what, known != mStore.keys.end() ? &known->second : nullptr, true);
        }
    }
    if (values.contains("dukpt")) {
        store.dukpt.clear();
        for (const json &entry : listOf("dukpt")) {
            int index = intIn(entry, "index", 0, kMaxDukptIndex, "dukpt");
            std::string what = "dukpt." + std::to_string(index);
            auto known = mStore.dukpt.find(index);
            DukptKey key;
            key.initialKey =
                keyOf(entry, what,
                      known != mStore.dukpt.end() ? &known->second.initialKey : nullptr, false);
            if (key.initialKey.size() != 16) throw std::invalid_argument(what + ": 16 bytes");
            std::string ksn;
            takeText(entry, "ksn", ksn);
            try {
                key.ksn = ksnField(ksn);
            } catch (const Refusal &r) {
                throw std::invalid_argument(what + ": " + r.why);
            }
            store.dukpt[index] = key;
        }
    }
    return store;
}

namespace {

bool flashPresent() {
    struct stat st;
    return stat(kFlashDir, &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

void PinpadService::readKeyFile() {
    if (!flashPresent()) return;
    std::ifstream in(kKeyFile);
    if (!in) return;
    json file = json::parse(in, nullptr, false);
    try {
        if (!file.is_object()) throw std::invalid_argument("not a JSON object");
        mStore = storeFrom(file);
    } catch (const std::exception &e) {
        fprintf(stderr, "pinpad: %s unreadable (%s); starting without keys\n", kKeyFile, e.what());
    }
}

// The whole store, written beside and renamed over the file so it is never half there.
void PinpadService::saveKeyFile() const {
    if (!flashPresent()) return;
    json keys = json::array(), dukpt = json::array();
    for (const auto &[where, key] : mStore.keys)
        keys.push_back(
            {{"type", where.first}, {"index", where.second}, {"key", pinpad::toHex(key)}});
    for (const auto &[index, key] : mStore.dukpt) {
        dukpt.push_back({{"index", index},
                         {"key", pinpad::toHex(key.initialKey)},
                         {"ksn", pinpad::toHex(key.ksn.data(), 10)}});
    }
    std::string temporary = std::string(kKeyFile) + ".new";
    mkdir(kKeyDir, 0700);
    {
        std::ofstream out(temporary, std::ios::trunc);
        out << json{{"keys", keys}, {"dukpt", dukpt}}.dump(1) << "\n";
        if (!out.flush()) {
            fprintf(stderr, "pinpad: cannot write %s\n", temporary.c_str());
            return;
        }
    }
    if (rename(temporary.c_str(), kKeyFile) != 0)
        fprintf(stderr, "pinpad: cannot replace %s\n", kKeyFile);
}

}  // namespace possim
