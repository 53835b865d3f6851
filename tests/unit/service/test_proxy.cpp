// Proxy behaviour that does not depend on one service's table: transport failures, C-string
// replies and casting binders to interfaces.
#include <gtest/gtest.h>

#include <pos_sdk/service/IPowerManager.h>
#include <pos_sdk/service/ISystemManager.h>

#include "FakeBinders.h"
#include "service/ProxyCall.h"

using namespace android;

namespace {

TEST(Proxy, DeadServiceReportsAndReadsTheEmptyReply) {
    sp<FakeRemote> remote = new FakeRemote("com.torva.binder.IPowerManager");
    remote->alive = false;
    sp<IPowerManager> power = IPowerManager::asInterface(remote);
    sp<ISystemManager> system = ISystemManager::asInterface(remote);

    testing::internal::CaptureStdout();
    int a = 5, b = 6, c = 7;
    EXPECT_EQ(power->SysGetBatteryInfo(&a, &b, &c), 0);
    EXPECT_EQ(a + b + c, 0);
    EXPECT_STREQ(system->SystemGetDevInfo(1), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "remote dead object !remote dead object !");

    // A proxy made around no binder at all behaves the same instead of crashing.
    sp<IPowerManager> unbound = new BpPowerManager(nullptr);
    testing::internal::CaptureStdout();
    a = 5;
    EXPECT_EQ(unbound->SysGetBatCap(&a), 0);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "remote dead object !");
}

TEST(Proxy, OtherTransportErrorsAreNotReported) {
    sp<FakeRemote> remote = new FakeRemote("com.torva.binder.IPowerManager");
    remote->transportStatus = UNKNOWN_TRANSACTION;
    remote->script({0, 4, 9});
    sp<IPowerManager> power = IPowerManager::asInterface(remote);
    testing::internal::CaptureStdout();
    int out = 0;
    EXPECT_EQ(power->SysGetSleepTime(&out), 4);  // the reply is read regardless
    EXPECT_EQ(out, 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Proxy, CStringReplies) {
    Parcel reply;
    reply.writeCString("skipped");
    reply.writeCString("860000000000001");
    reply.setDataPosition(0);
    // Without a buffer the field is still consumed.
    EXPECT_EQ(x_readCStringFromParcel(reply, nullptr), nullptr);
    char buffer[32] = "stale";
    EXPECT_EQ(x_readCStringFromParcel(reply, buffer), buffer);
    EXPECT_STREQ(buffer, "860000000000001");
    // Nothing left to read: the buffer is emptied and null returned.
    EXPECT_EQ(x_readCStringFromParcel(reply, buffer), nullptr);
    EXPECT_EQ(buffer[0], '\0');
}

TEST(Proxy, CastingBinders) {
    EXPECT_EQ(IPowerManager::asInterface(nullptr), nullptr);
    // A remote binder is trusted by the name it was found under.
    sp<FakeRemote> remote = new FakeRemote("com.example.IOther");
    EXPECT_NE(IPowerManager::asInterface(remote), nullptr);
    // A local object is asked for its descriptor.
    sp<BBinder> local = new BBinder();
    EXPECT_EQ(IPowerManager::asInterface(local), nullptr);
}

}  // namespace
