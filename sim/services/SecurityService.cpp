#include "SecurityService.h"

#include <pos_sdk/service/ISecurityManager.h>
#include <sys/random.h>

#include <nlohmann/json.hpp>

#include <vector>

using android::ISecurityManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kBadArgument = -1;
const int kRefused = -3;  // wrong authorisation text

const int kMaxRandomBytes = 512;
const int kMaxSelector = 255;
const size_t kMaxParamText = 128;

// N random bytes from the kernel as upper-case hex; empty when it cannot give them.
std::string randomHex(int n) {
    std::vector<unsigned char> bytes(static_cast<size_t>(n));
    size_t got = 0;
    while (got < bytes.size()) {
        ssize_t r = getrandom(bytes.data() + got, bytes.size() - got, 0);
        if (r <= 0) return "";
        got += size_t(r);
    }
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char b : bytes) {
        hex += kDigits[b >> 4];
        hex += kDigits[b & 15];
    }
    return hex;
}

}  // namespace

SecurityService::SecurityService(const json &section)
    : SimService("com.kivo.manager.ISecurityManager") {
    load(section);
    // An out-of-range length answers the empty text.
    onText(ISecurityManager::GET_RANDOM, [](const Parcel &request, ReplyFields &) {
        int n = request.readInt32();
        return n >= 1 && n <= kMaxRandomBytes ? randomHex(n) : std::string();
    });
    onStatus(ISecurityManager::GET_ANTI_TAMPER_STATE, [this](const Parcel &, ReplyFields &out) {
        out.i32(mState.antiTamper);
        return 0;
    });
    onStatus(ISecurityManager::CLEAR_ANTI_TAMPER_STATE,
             [this](const Parcel &request, ReplyFields &) {
                 int result = authorise(request);
                 if (result == 0) mState.antiTamper = 0;
                 return result;
             });
    onStatus(ISecurityManager::CLEAR_SERIAL_NUMBER, [this](const Parcel &request, ReplyFields &) {
        int result = authorise(request);
        if (result == 0) mState.serialNumber.clear();
        return result;
    });
    onStatus(ISecurityManager::SET_PARAM, [this](const Parcel &request, ReplyFields &) {
        int selector = request.readInt32();
        std::string value;
        if (selector < 0 || selector > kMaxSelector || !readText16(request, &value) ||
            value.size() > kMaxParamText) {
            return kBadArgument;
        }
        mState.params[selector] = value;
        return 0;
    });
    onText(ISecurityManager::GET_PARAM, [this](const Parcel &request, ReplyFields &) {
        auto it = mState.params.find(request.readInt32());
        return it != mState.params.end() ? it->second : std::string();
    });
    onText(ISecurityManager::GET_ENC_CID,
           [this](const Parcel &, ReplyFields &) { return mState.encCid; });
    onText(ISecurityManager::GET_OS_ENC_CID,
           [this](const Parcel &, ReplyFields &) { return mState.osEncCid; });
    onStatus(ISecurityManager::CLEAR_OS_PUB_KEY, [this](const Parcel &, ReplyFields &) {
        mState.osPubKey = false;
        return 0;
    });
}

// The length sent first must be the text's; the mode is the caller's and not checked.
int SecurityService::authorise(const Parcel &request) const {
    request.readInt32();  // mode
    int length = request.readInt32();
    std::string text;
    if (!readText16(request, &text) || length != int(text.size())) return kBadArgument;
    return text == mState.clearPassword ? 0 : kRefused;
}

json SecurityService::state() const {
    json params = json::object();
    for (const auto &p : mState.params) params[std::to_string(p.first)] = p.second;
    return {{"anti_tamper", mState.antiTamper},
            {"serial_number", mState.serialNumber},
            {"clear_password", mState.clearPassword},
            {"params", params},
            {"enc_cid", mState.encCid},
            {"os_enc_cid", mState.osEncCid},
            {"os_pub_key", mState.osPubKey}};
}

void SecurityService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    takeInt(values, "anti_tamper", s.antiTamper);
    takeText(values, "serial_number", s.serialNumber);
    takeText(values, "clear_password", s.clearPassword);
    takeText(values, "enc_cid", s.encCid);
    takeText(values, "os_enc_cid", s.osEncCid);
    takeBool(values, "os_pub_key", s.osPubKey);
    auto params = values.find("params");
    if (params != values.end()) {
        if (!params->is_object()) throw std::invalid_argument("params: an object of texts");
        s.params.clear();
        for (auto it = params->begin(); it != params->end(); ++it) {
            size_t used = 0;
            int selector = -1;
            try {
                selector = std::stoi(it.key(), &used);
            } catch (const std::exception &) {
            }
            if (used != it.key().size() || selector < 0 || selector > kMaxSelector)
                throw std::invalid_argument("params: selectors are 0 to 255");
            std::string text = textOf(*it, "params." + it.key());
            if (text.size() > kMaxParamText)
                throw std::invalid_argument("params: at most 128 characters");
            s.params[selector] = text;
        }
    }
    mState = s;
}

// tamper [bits=N]: a tamper source trips (bit 1 without N).
void SecurityService::event(const std::string &name, const json &args) {
    if (name != "tamper") return SimService::event(name, args);
    mState.antiTamper |= intArg(args, "bits", 1);
}

}  // namespace possim
