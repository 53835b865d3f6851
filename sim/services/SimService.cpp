#include "SimService.h"

#include <utils/String8.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "SimControl.h"
#include "scenario/scenario.h"

using android::Parcel;
using android::status_t;
using nlohmann::json;

namespace possim {

namespace {

const int kMaxFaultCount = 1000000;
const int kMaxDelayMs = 60000;

[[noreturn]] void refuse(const std::string &why) {
    throw std::invalid_argument(why);
}

// JSON text of VALUE; text that is not UTF-8 (a serial number set over binder, say) is shown
// with replacement characters rather than refused.
std::string jsonText(const json &value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

// A text given on the command line, as a value of the type the state holds at that key.
json typedLike(const json &current, const std::string &text, const std::string &key) {
    const char *begin = text.c_str();
    char *end = nullptr;
    errno = 0;
    if (current.is_number_integer()) {
        long long value = strtoll(begin, &end, 10);
        if (end == begin || *end != '\0' || errno == ERANGE) refuse(key + ": expected an integer");
        return value;
    }
    if (current.is_number_float()) {
        double value = strtod(begin, &end);
        if (end == begin || *end != '\0' || errno == ERANGE) refuse(key + ": expected a number");
        return value;
    }
    if (current.is_boolean()) {
        if (text == "true" || text == "1") return true;
        if (text == "false" || text == "0") return false;
        refuse(key + ": expected true or false");
    }
    if (current.is_string()) return text;
    json value;
    std::string error;
    if (!parseJson(text, value, error)) refuse(key + ": " + error);
    return value;
}

// An integer field of a control command within [low, high]; FALLBACK when absent.
int commandInt(const json &command, const char *key, int fallback, int low, int high) {
    int value = fallback;
    takeInt(command, key, value);
    if (value < low || value > high) {
        refuse(std::string(key) + " must be " + std::to_string(low) + " to " +
               std::to_string(high));
    }
    return value;
}

}  // namespace

ReplyFields &ReplyFields::i32(int32_t value) {
    mParcel.writeInt32(value);
    return *this;
}

ReplyFields &ReplyFields::text16(const std::string &text) {
    mParcel.writeString16(android::String16(text.c_str()));
    return *this;
}

ReplyFields &ReplyFields::cstring(const std::string &text) {
    mParcel.writeCString(text.c_str());
    return *this;
}

ReplyFields &ReplyFields::raw(const void *data, size_t size) {
    mParcel.write(data, size);
    return *this;
}

bool readText16(const Parcel &request, std::string *text) {
    size_t length = 0;
    const char16_t *units = request.readString16Inplace(&length);
    if (units == nullptr) return false;
    android::String8 text8(android::String16(units, length));
    text->assign(text8.string(), text8.size());
    return true;
}

std::string readCString(const Parcel &request) {
    const char *text = request.readCString();
    return text != nullptr ? text : "";
}

int intOf(const json &value, const std::string &what) {
    bool fits = value.is_number_unsigned() ? value.get<unsigned long long>() <= INT_MAX
                : value.is_number_integer()
                    ? value.get<long long>() >= INT_MIN && value.get<long long>() <= INT_MAX
                    : false;
    if (!fits) refuse(what + ": expected an integer");
    return value.get<int>();
}

std::string textOf(const json &value, const std::string &what) {
    if (!value.is_string()) refuse(what + ": expected a text");
    return value.get<std::string>();
}

void takeInt(const json &state, const char *key, int &field) {
    auto it = state.find(key);
    if (it != state.end()) field = intOf(*it, key);
}

void takeBool(const json &state, const char *key, bool &field) {
    auto it = state.find(key);
    if (it == state.end()) return;
    if (!it->is_boolean()) refuse(std::string(key) + ": expected true or false");
    field = it->get<bool>();
}

void takeText(const json &state, const char *key, std::string &field) {
    auto it = state.find(key);
    if (it != state.end()) field = textOf(*it, key);
}

SimService::SimService(const char *descriptor) : mDescriptor(descriptor) {}

const android::String16 &SimService::getInterfaceDescriptor() const {
    return mDescriptor;
}

void SimService::onStatus(uint32_t code, StatusHandler handler) {
    mHandlers[code] = [handler](const Parcel &request, Parcel *reply) {
        ReplyFields out;
        reply->writeInt32(handler(request, out));
        reply->write(out.parcel().data(), out.parcel().dataSize());
    };
}

void SimService::onText(uint32_t code, TextHandler handler) {
    mHandlers[code] = [handler](const Parcel &request, Parcel *reply) {
        ReplyFields after;
        reply->writeString16(android::String16(handler(request, after).c_str()));
        reply->write(after.parcel().data(), after.parcel().dataSize());
    };
}

void SimService::onNone(uint32_t code, NoneHandler handler) {
    mHandlers[code] = [handler](const Parcel &request, Parcel *) { handler(request); };
}

void SimService::onGet(uint32_t code, const int &field) {
    onStatus(code, [&field](const Parcel &, ReplyFields &out) {
        out.i32(field);
        return 0;
    });
}

void SimService::onSet(uint32_t code, int &field, int low, int high) {
    onStatus(code, [&field, low, high](const Parcel &request, ReplyFields &) {
        int value = request.readInt32();
        if (value < low || value > high) return -1;
        field = value;
        return 0;
    });
}

void SimService::event(const std::string &name, const json &) {
    refuse("unknown event \"" + name + "\"");
}

std::string SimService::stateText() const {
    std::lock_guard<std::mutex> lock(mLock);
    return jsonText(state());
}

std::string SimService::control(const std::string &text, int *status) {
    json command;
    std::string error;
    *status = -1;
    if (!parseJson(text, command, error)) return jsonText({{"error", "command: " + error}});
    try {
        std::lock_guard<std::mutex> lock(mLock);
        json answer = runCommand(command);
        *status = 0;
        return jsonText(answer);
    } catch (const std::exception &e) {
        return jsonText({{"error", e.what()}});
    }
}

json SimService::runCommand(const json &command) {
    if (!command.is_object()) refuse("a command is a JSON object");
    std::string name = command.value("command", "");
    if (name == "state") return state();
    if (name == "set") {
        set(command.value("values", json::object()));
        return state();
    }
    if (name == "event") {
        event(command.value("name", ""), command.value("args", json::object()));
        return state();
    }
    if (name == "fault") return fault(command);
    refuse("unknown command \"" + name + "\"");
}

void SimService::set(const json &values) {
    if (!values.is_object() || values.empty()) refuse("set needs KEY=VALUE");
    json current = state();
    json typed = json::object();
    for (auto it = values.begin(); it != values.end(); ++it) {
        auto old = current.find(it.key());
        if (old == current.end()) refuse("unknown key \"" + it.key() + "\"");
        typed[it.key()] = it->is_string() ? typedLike(*old, it->get<std::string>(), it.key()) : *it;
    }
    load(typed);
}

json SimService::fault(const json &command) {
    std::string kind = command.value("kind", "");
    if (kind == "clear") {
        mFaults = Faults();
        return pendingFaults();
    }
    int count = commandInt(command, "count", 1, 0, kMaxFaultCount);
    if (kind == "fail") {
        mFaults.failCount = count;
        mFaults.failStatus = commandInt(command, "status", -1, INT_MIN, INT_MAX);
    } else if (kind == "delay") {
        if (!command.contains("ms")) refuse("delay needs ms");
        mFaults.delayCount = count;
        mFaults.delayMs = commandInt(command, "ms", 0, 0, kMaxDelayMs);
    } else if (kind == "drop") {
        mFaults.dropCount = count;
    } else {
        refuse("unknown fault \"" + kind + "\" (fail, delay, drop or clear)");
    }
    return pendingFaults();
}

json SimService::pendingFaults() const {
    return {{"fail", {{"count", mFaults.failCount}, {"status", mFaults.failStatus}}},
            {"delay", {{"count", mFaults.delayCount}, {"ms", mFaults.delayMs}}},
            {"drop", {{"count", mFaults.dropCount}}}};
}

SimService::CallFault SimService::takeFault() {
    std::lock_guard<std::mutex> lock(mLock);
    CallFault fault;
    if (mFaults.delayCount > 0) {
        --mFaults.delayCount;
        fault.delayMs = mFaults.delayMs;
    }
    if (mFaults.dropCount > 0) {
        --mFaults.dropCount;
        fault.drop = true;
    } else if (mFaults.failCount > 0) {
        --mFaults.failCount;
        fault.fail = true;
        fault.status = mFaults.failStatus;
    }
    return fault;
}

status_t SimService::answerControl(const Parcel &data, Parcel *reply) {
    int status = -1;
    std::string answer = control(readCString(data), &status);
    reply->writeNoException();
    reply->writeInt32(status);
    reply->writeCString(answer.c_str());
    return android::NO_ERROR;
}

status_t SimService::onTransact(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags) {
    Parcel unwanted;  // a one-way call has no reply to write
    if (reply == nullptr) reply = &unwanted;
    if (code == kControlTransaction) return answerControl(data, reply);
    auto handler = mHandlers.find(code);
    if (handler == mHandlers.end()) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(mDescriptor)) return android::BAD_TYPE;
    CallFault fault = takeFault();
    // Slept outside the lock, so the control transaction still answers meanwhile.
    if (fault.delayMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
    // A failed transaction carries no reply at all: the caller reads an empty one.
    if (fault.drop) return android::FAILED_TRANSACTION;
    std::lock_guard<std::mutex> lock(mLock);
    reply->writeNoException();
    if (fault.fail) {
        reply->writeInt32(fault.status);  // the status alone: outputs and text read empty
        return android::NO_ERROR;
    }
    handler->second(data, reply);
    return android::NO_ERROR;
}

}  // namespace possim
