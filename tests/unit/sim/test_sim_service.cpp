// The simulated services' common behaviour: the control transaction, injected faults, the token
// check, and a state that every service of the registry can start from again.
#include <gtest/gtest.h>

#include <binder/Parcel.h>

#include <nlohmann/json.hpp>

#include "Registry.h"
#include "SimControl.h"

using android::Parcel;
using nlohmann::json;

namespace {

const uint32_t kGetBatCap = 3, kSetBrightness = 2;

class SimServiceTest : public ::testing::Test {
  protected:
    // Runs COMMAND; the answer's JSON, with the status in *status.
    json control(const json &command, int *status) {
        return json::parse(power->control(command.dump(), status));
    }
    json state() { return json::parse(power->stateText()); }

    // One call of CODE with the token and ARG (when given); the reply's words after the
    // exception code, which must be 0.
    std::vector<int32_t> call(uint32_t code, std::optional<int> arg = {}) {
        Parcel data, reply;
        data.writeInterfaceToken(power->getInterfaceDescriptor());
        if (arg) data.writeInt32(*arg);
        lastStatus = power->transact(code, data, &reply);
        std::vector<int32_t> words;
        if (lastStatus != android::OK) return words;
        EXPECT_EQ(reply.readExceptionCode(), 0);
        while (reply.dataAvail() >= 4) words.push_back(reply.readInt32());
        return words;
    }

    android::sp<possim::SimService> power = possim::findService("power")->make(json::object());
    android::status_t lastStatus = android::OK;
};

TEST_F(SimServiceTest, ControlCommandsReadAndChangeTheStateByItsTypes) {
    int status = -1;
    EXPECT_EQ(control({{"command", "state"}}, &status)["battery_capacity"], 85);
    EXPECT_EQ(status, 0);

    // Text from a command line is typed by the state; the service then answers with it.
    json after = control({{"command", "set"}, {"values", {{"battery_capacity", "15"}}}}, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(after["battery_capacity"], 15);
    EXPECT_EQ(call(kGetBatCap), std::vector<int32_t>({0, 15}));

    // A refused change changes nothing, not even its valid part, and says why.
    const json refused[] = {
        {{"command", "set"}, {"values", {{"brightness", "20"}, {"battery_capacity", "lots"}}}},
        {{"command", "set"}, {"values", {{"brightness", 20}, {"colour", "red"}}}},
        {{"command", "set"}, {"values", {{"brightness", 1e12}}}},
        {{"command", "set"}, {"values", json::object()}},
        {{"command", "event"}, {"name", "lid_opened"}},
        {{"command", "melt"}},
        {{"command", 5}},
        json::array(),
    };
    for (const json &command : refused) {
        json answer = control(command, &status);
        EXPECT_EQ(status, -1) << command;
        EXPECT_TRUE(answer.contains("error")) << command;
    }
    EXPECT_EQ(state()["brightness"], 80);
    EXPECT_NE(power->control("{\"command\":", &status).find("error"), std::string::npos);
    EXPECT_EQ(status, -1);
}

TEST_F(SimServiceTest, FaultsApplyToTheNextCallsOnly) {
    int status = -1;
    control({{"command", "fault"}, {"kind", "fail"}, {"count", 2}, {"status", -9}}, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(call(kGetBatCap), std::vector<int32_t>({-9}));  // the status alone
    EXPECT_EQ(call(kSetBrightness, 10), std::vector<int32_t>({-9}));
    EXPECT_EQ(call(kGetBatCap), std::vector<int32_t>({0, 85}));
    EXPECT_EQ(state()["brightness"], 80);  // the failed call was not carried out

    control({{"command", "fault"}, {"kind", "drop"}}, &status);
    call(kGetBatCap);
    EXPECT_EQ(lastStatus, android::FAILED_TRANSACTION);
    EXPECT_EQ(call(kGetBatCap), std::vector<int32_t>({0, 85}));

    control({{"command", "fault"}, {"kind", "fail"}, {"count", 3}}, &status);
    json pending = control({{"command", "fault"}, {"kind", "clear"}}, &status);
    EXPECT_EQ(pending["fail"]["count"], 0);
    EXPECT_EQ(call(kGetBatCap), std::vector<int32_t>({0, 85}));

    for (const json &bad : {json{{"command", "fault"}, {"kind", "delay"}, {"count", 1}},
                            json{{"command", "fault"}, {"kind", "delay"}, {"ms", 600000}},
                            json{{"command", "fault"}, {"kind", "fail"}, {"count", -1}}}) {
        control(bad, &status);
        EXPECT_EQ(status, -1) << bad;
    }
}

TEST_F(SimServiceTest, RequestsWithoutTheTokenOrOfUnknownCodesAreLeftUnanswered) {
    Parcel data, reply;
    data.writeInt32(0);
    EXPECT_EQ(power->transact(kGetBatCap, data, &reply), android::BAD_TYPE);
    EXPECT_EQ(call(6).size(), 0u);  // the code nothing sends
    EXPECT_EQ(lastStatus, android::UNKNOWN_TRANSACTION);

    // The control transaction needs no token: its request is the command text alone.
    Parcel command;
    command.writeCString("{\"command\":\"state\"}");
    ASSERT_EQ(power->transact(possim::kControlTransaction, command, &reply), android::OK);
    EXPECT_EQ(reply.readExceptionCode(), 0);
    EXPECT_EQ(reply.readInt32(), 0);
    EXPECT_EQ(json::parse(reply.readCString())["battery_voltage"], 4012);
}

// What restarts and scenarios rely on: a service started from its own state has that state.
TEST(SimServices, EveryServiceStartsAgainFromItsOwnState) {
    for (const possim::ServiceEntry &entry : possim::simulatedServices()) {
        SCOPED_TRACE(entry.key);
        json first = json::parse(entry.make(json::object())->stateText());
        ASSERT_TRUE(first.is_object());
        json again = json::parse(entry.make(first)->stateText());
        first.erase("rtc");  // a running clock: it may have ticked in between
        again.erase("rtc");
        EXPECT_EQ(again, first);
        EXPECT_THROW(entry.make(json::array()), std::exception);
    }
}

}  // namespace
