#include "CloudService.h"

#include <pos_sdk/service/ICloudManager.h>

#include <nlohmann/json.hpp>

#include <cstdint>

using android::ICloudManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const size_t kKeptTexts = 16;

// The sums wrap as the terminal's 32-bit integers do, without overflowing ours.
int32_t wrap(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

}  // namespace

CloudService::CloudService(const json &section) : SimService("com.cloud.test.ICloudManager") {
    load(section);
    onNone(ICloudManager::TEST, [this](const Parcel &) { ++mState.tests; });
    onNone(ICloudManager::PRINT, [this](const Parcel &request) {
        std::string text;
        if (!readText16(request, &text)) return;
        mState.printed.push_back(text);
        if (mState.printed.size() > kKeptTexts) mState.printed.erase(mState.printed.begin());
    });
    onStatus(ICloudManager::ADD, [](const Parcel &request, ReplyFields &) {
        int64_t a = request.readInt32();
        return wrap(a + request.readInt32());
    });
    onStatus(ICloudManager::MULTIPLY, [](const Parcel &request, ReplyFields &) {
        int64_t a = request.readInt32();
        return wrap(a * request.readInt32());
    });
}

json CloudService::state() const {
    return {{"tests", mState.tests}, {"printed", mState.printed}};
}

void CloudService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    takeInt(values, "tests", s.tests);
    if (values.contains("printed")) {
        const json &printed = values["printed"];
        if (!printed.is_array() || printed.size() > kKeptTexts) {
            throw std::invalid_argument("printed: expected up to 16 texts");
        }
        s.printed.clear();
        for (const json &text : printed) s.printed.push_back(textOf(text, "printed"));
    }
    mState = s;
}

}  // namespace possim
