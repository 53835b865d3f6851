// The hub's binding rules: binding codes, liveness checks, re-binding, the power getters'
// result mapping, and copying.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <map>
#include <string>

#include "FakeBinders.h"
#include "HubOps.h"
#include "LocalBinder.h"

using namespace android;

namespace {

// The result an operation gives when its service cannot be bound with CODE.
bool unbound(const HubOp &op, BpTransferHub &hub, int code) {
    HubResult r = op.call(hub);
    return op.returns == HubReturns::Text ? r.text == nullptr : r.status == code;
}

const char *kPowerName = "KivoPowerService";
const char *kPowerDescriptor = "com.torva.binder.IPowerManager";

class OtherInterface : public BBinder {
  public:
    const String16 &getInterfaceDescriptor() const override { return mDescriptor; }

  private:
    String16 mDescriptor{"com.example.IOther"};
};

class Hub : public ::testing::Test {
  protected:
    void SetUp() override {
        manager = new CountingServiceManager();
        setDefaultServiceManager(manager);
    }
    void TearDown() override { setDefaultServiceManager(nullptr); }

    sp<FakeRemote> addPower() {
        sp<FakeRemote> power = new FakeRemote(kPowerDescriptor);
        power->script({0, 0, 0});
        manager->addService(String16(kPowerName), power);
        return power;
    }

    harness::LocalBinder binder;  // no service-manager socket: only the installed manager counts
    sp<CountingServiceManager> manager;
    BpTransferHub hub;
};

TEST_F(Hub, WithoutServiceManagerEveryCallGivesTheFirstCodeSilently) {
    setDefaultServiceManager(nullptr);
    testing::internal::CaptureStdout();
    for (const HubOp &op : allHubOps())
        EXPECT_TRUE(unbound(op, hub, POS_HUB_NO_SERVICE_MANAGER)) << op.name;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Hub, UnregisteredServiceGivesTheSecondCodeAndIsLookedUpAgain) {
    for (const HubOp &op : allHubOps())
        EXPECT_TRUE(unbound(op, hub, POS_HUB_SERVICE_NOT_FOUND)) << op.name;
    // Nothing was kept from a failed look-up.
    EXPECT_EQ(manager->lookups, int(allHubOps().size()));
}

TEST_F(Hub, ServiceOfAnotherInterfaceIsRefused) {
    for (const HubOp &op : allHubOps())
        manager->addService(String16(op.service), new OtherInterface());
    for (const HubOp &op : allHubOps())
        EXPECT_TRUE(unbound(op, hub, POS_HUB_SERVICE_NOT_FOUND)) << op.name;
}

TEST_F(Hub, EveryOperationSendsItsTransactionAndHandsOnTheReply) {
    std::map<std::string, sp<FakeRemote>> remotes;
    for (const HubOp &op : allHubOps()) {
        if (remotes.count(op.service) == 0) {
            remotes[op.service] = new FakeRemote(op.descriptor);
            manager->addService(String16(op.service), remotes[op.service]);
        }
    }
    for (const HubOp &op : allHubOps()) {
        SCOPED_TRACE(op.name);
        FakeRemote &remote = *remotes[op.service];
        if (op.returns == HubReturns::Text) {
            remote.script({0, 2, 0x00620061, 0});  // the text "ab"
        } else {
            remote.script({0, 7, 0, 0, 0});  // status 7, then outputs
        }
        HubResult r = op.call(hub);
        EXPECT_EQ(remote.lastCode, op.code);
        EXPECT_EQ(remote.request, token(u16(op.descriptor)).append(op.request).b);
        if (op.returns == HubReturns::Text) {
            EXPECT_STREQ(r.text, "ab");
        } else {
            // Status operations hand the status on; the mapped ones fold a refusal into -1;
            // those without a result answer 0 once the call is made.
            int expected = op.returns == HubReturns::Status    ? 7
                           : op.returns == HubReturns::Nothing ? 0
                                                               : -1;
            EXPECT_EQ(r.status, expected);
        }
    }
}

TEST_F(Hub, LivenessIsCheckedOnEveryCallAndALiveProxyIsKept) {
    sp<FakeRemote> power = addPower();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(hub.IPowerSysSetSleepTime(60), 0);
    EXPECT_EQ(manager->lookups, 1);
    EXPECT_EQ(power->aliveChecks, 2);  // the first call had nothing to check yet
    EXPECT_EQ(power->calls, 3);
    EXPECT_EQ(power->lastCode, 7u);
}

TEST_F(Hub, DeadServiceIsReboundWithOneNotice) {
    sp<FakeRemote> first = addPower();
    EXPECT_EQ(hub.IPowerSysGetSleepShutdownTime(nullptr), 0);
    first->alive = false;
    sp<FakeRemote> second = addPower();
    second->script({0, 0, 33});

    testing::internal::CaptureStdout();
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 33);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 33);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Service com.torva.binder.IPowerManager is  not alive \n");
    EXPECT_EQ(first->calls, 1);
    EXPECT_EQ(second->calls, 2);
}

TEST_F(Hub, StaleProxyIsKeptWhileTheServiceManagerIsGone) {
    sp<FakeRemote> first = addPower();
    EXPECT_EQ(hub.IPowerSysSetLCDBKL(10), 0);
    first->alive = false;
    setDefaultServiceManager(nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(hub.IPowerSysSetLCDBKL(10), POS_HUB_NO_SERVICE_MANAGER);
    setDefaultServiceManager(manager);
    sp<FakeRemote> second = addPower();
    EXPECT_EQ(hub.IPowerSysSetLCDBKL(10), 0);
    // The dead proxy was still held, so the second call noticed it again.
    std::string notice = "Service com.torva.binder.IPowerManager is  not alive \n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), notice + notice);
    EXPECT_EQ(second->calls, 1);
}

// (Refusals reading -1 are checked for every mapped operation above.)
TEST_F(Hub, ArgumentlessPowerGettersAnswerTheValueRead) {
    sp<FakeRemote> power = addPower();
    using Getter = int (BpTransferHub::*)();
    for (Getter getter : {&BpTransferHub::IPowerSysGetBatCap, &BpTransferHub::IPowerSysGetBatVol,
                          &BpTransferHub::IPowerSysChgState, &BpTransferHub::IPowerSysGetLCDBKL}) {
        power->script({0, 0, 77});
        EXPECT_EQ((hub.*getter)(), 77);
        power->script({0, 0, -1});  // a genuine -1 reading is indistinguishable from a refusal
        EXPECT_EQ((hub.*getter)(), -1);
    }

    int a = 0, b = 0, c = 0;
    power->script({0, 9, 1, 2, 3});
    EXPECT_EQ(hub.IPowerSysGetBatInfo(&a, &b, &c), -1);
    EXPECT_EQ(c, 3);  // the outputs are filled in anyway
    power->script({0, 0, 4, 5, 6});
    EXPECT_EQ(hub.IPowerSysGetBatInfo(&a, &b, &c), 0);
    EXPECT_EQ(a * 100 + b * 10 + c, 456);
}

TEST_F(Hub, CopiesStartUnboundAndAssignmentChangesNothing) {
    EXPECT_EQ(BpTransferHub::getInstance(), BpTransferHub::getInstance());
    addPower();
    EXPECT_EQ(hub.IPowerSysSetSleepTime(60), 0);
    EXPECT_EQ(manager->lookups, 1);

    BpTransferHub copy(hub);
    EXPECT_EQ(copy.IPowerSysSetSleepTime(60), 0);
    EXPECT_EQ(manager->lookups, 2);  // the copy had to bind for itself

    BpTransferHub other;
    BpTransferHub &result = (other = hub);
    EXPECT_EQ(&result, BpTransferHub::getInstance());
    EXPECT_EQ(other.IPowerSysSetSleepTime(60), 0);
    EXPECT_EQ(manager->lookups, 3);  // nothing was copied into `other`
    EXPECT_EQ(hub.IPowerSysSetSleepTime(60), 0);
    EXPECT_EQ(manager->lookups, 3);  // and `hub` kept its own binding
}

}  // namespace
