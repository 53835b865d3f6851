// The hub's binding rules: binding codes, liveness checks, re-binding, the power getters'
// result mapping, and copying.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <stdlib.h>

#include <functional>
#include <string>

#include "FakeBinders.h"

using namespace android;

namespace {

using IntOp = std::function<int(BpTransferHub &)>;
using TextOp = std::function<const char *(BpTransferHub &)>;

const std::vector<IntOp> &powerOps() {
    static int a, b, c;
    static const std::vector<IntOp> ops = {
        [](BpTransferHub &h) { return h.IPowerSysGetBatCap(); },
        [](BpTransferHub &h) { return h.IPowerSysGetBatVol(); },
        [](BpTransferHub &h) { return h.IPowerSysChgState(); },
        [](BpTransferHub &h) { return h.IPowerSysGetBatInfo(&a, &b, &c); },
        [](BpTransferHub &h) { return h.IPowerSysGetLCDBKL(); },
        [](BpTransferHub &h) { return h.IPowerSysSetLCDBKL(50); },
        [](BpTransferHub &h) { return h.IPowerSysSetSleepTime(60); },
        [](BpTransferHub &h) { return h.IPowerSysGetSleepTime(&a); },
        [](BpTransferHub &h) { return h.IPowerSysAllowEnterSleep(1); },
        [](BpTransferHub &h) { return h.IPowerSysGetAllowEnterSleep(&a); },
        [](BpTransferHub &h) { return h.IPowerSysSetDeepSleepTime(30); },
        [](BpTransferHub &h) { return h.IPowerSysGetDeepSleepTime(&a); },
        [](BpTransferHub &h) { return h.IPowerSysSetSleepShutdownTime(2); },
        [](BpTransferHub &h) { return h.IPowerSysGetSleepShutdownTime(&a); },
    };
    return ops;
}

const std::vector<IntOp> &systemOps() {
    static int a;
    static char text[] = "X";
    static const std::vector<IntOp> ops = {
        [](BpTransferHub &h) { return h.ISystemSetMCURTCTime(2026, 1, 2, 3, 4, 5); },
        [](BpTransferHub &h) { return h.ISystemCtrlBeeper(1, 2); },
        [](BpTransferHub &h) { return h.ISystemCtrlKeytone(1); },
        [](BpTransferHub &h) { return h.ISystemSetDevInfo(1, text); },
        [](BpTransferHub &h) { return h.ISystemSetDebugMode(text, 1); },
        [](BpTransferHub &h) { return h.ISystemGetWakeSource(&a); },
        [](BpTransferHub &h) { return h.ISystemCtrlLED(1, 2, 3, 4, 5, 6); },
        [](BpTransferHub &h) { return h.ISystemMCURFIDTest(); },
        [](BpTransferHub &h) { return h.ISystemSyncBATState(1); },
        [](BpTransferHub &h) { return h.ISystemSetLPLEDFreq(1); },
        [](BpTransferHub &h) { return h.ISystemGetLPLEDFreq(&a); },
    };
    return ops;
}

const std::vector<TextOp> &textOps() {
    static int a;
    static const std::vector<TextOp> ops = {
        [](BpTransferHub &h) { return h.ISystemGetMCURTCTime(); },
        [](BpTransferHub &h) { return h.ISystemGetDevInfo(1); },
        [](BpTransferHub &h) { return h.ISystemGetDebugModeRandom(&a); },
    };
    return ops;
}

const char *kPowerName = "KivoPowerService";
const char *kSystemName = "KivoSystemManagerService";
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
        // No service-manager socket anywhere: only the installed manager counts.
        char dir[] = "/tmp/pos-hub-test.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        binderDir = dir;
        setenv("POS_BINDER_DIR", dir, 1);
        manager = new CountingServiceManager();
        setDefaultServiceManager(manager);
    }
    void TearDown() override {
        setDefaultServiceManager(nullptr);
        rmdir(binderDir.c_str());
    }

    sp<FakeRemote> addPower() {
        sp<FakeRemote> power = new FakeRemote(kPowerDescriptor);
        power->script({0, 0, 0});
        manager->addService(String16(kPowerName), power);
        return power;
    }

    std::string binderDir;
    sp<CountingServiceManager> manager;
    BpTransferHub hub;
};

TEST_F(Hub, WithoutServiceManagerEveryCallGivesTheFirstCodeSilently) {
    setDefaultServiceManager(nullptr);
    testing::internal::CaptureStdout();
    for (const IntOp &op : powerOps()) EXPECT_EQ(op(hub), POS_HUB_NO_SERVICE_MANAGER);
    for (const IntOp &op : systemOps()) EXPECT_EQ(op(hub), POS_HUB_NO_SERVICE_MANAGER);
    for (const TextOp &op : textOps()) EXPECT_EQ(op(hub), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Hub, UnregisteredServiceGivesTheSecondCodeAndIsLookedUpAgain) {
    int calls = 0;
    for (const IntOp &op : powerOps()) {
        EXPECT_EQ(op(hub), POS_HUB_SERVICE_NOT_FOUND);
        ++calls;
    }
    for (const IntOp &op : systemOps()) {
        EXPECT_EQ(op(hub), POS_HUB_SERVICE_NOT_FOUND);
        ++calls;
    }
    for (const TextOp &op : textOps()) {
        EXPECT_EQ(op(hub), nullptr);
        ++calls;
    }
    EXPECT_EQ(manager->lookups, calls);  // nothing was kept from a failed look-up
}

TEST_F(Hub, ServiceOfAnotherInterfaceIsRefused) {
    manager->addService(String16(kPowerName), new OtherInterface());
    manager->addService(String16(kSystemName), new OtherInterface());
    for (const IntOp &op : powerOps()) EXPECT_EQ(op(hub), POS_HUB_SERVICE_NOT_FOUND);
    for (const IntOp &op : systemOps()) EXPECT_EQ(op(hub), POS_HUB_SERVICE_NOT_FOUND);
    for (const TextOp &op : textOps()) EXPECT_EQ(op(hub), nullptr);
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

TEST_F(Hub, ArgumentlessPowerGettersTurnARefusalIntoMinusOne) {
    sp<FakeRemote> power = addPower();
    using Getter = int (BpTransferHub::*)();
    const Getter getters[] = {&BpTransferHub::IPowerSysGetBatCap,
                              &BpTransferHub::IPowerSysGetBatVol, &BpTransferHub::IPowerSysChgState,
                              &BpTransferHub::IPowerSysGetLCDBKL};
    const uint32_t codes[] = {3, 4, 5, 1};
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        power->script({0, 0, 77});
        EXPECT_EQ((hub.*getters[i])(), 77);
        EXPECT_EQ(power->lastCode, codes[i]);
        power->script({0, 3, 77});
        EXPECT_EQ((hub.*getters[i])(), -1);
        power->script({0, 0, -1});  // a genuine -1 reading is indistinguishable
        EXPECT_EQ((hub.*getters[i])(), -1);
    }

    int a = 0, b = 0, c = 0;
    power->script({0, 9, 1, 2, 3});
    EXPECT_EQ(hub.IPowerSysGetBatInfo(&a, &b, &c), -1);
    EXPECT_EQ(c, 3);  // the outputs are filled in anyway
    power->script({0, 0, 4, 5, 6});
    EXPECT_EQ(hub.IPowerSysGetBatInfo(&a, &b, &c), 0);
    EXPECT_EQ(a * 100 + b * 10 + c, 456);
    // Setters and pointer getters hand the status on unchanged.
    power->script({0, 3, 77});
    EXPECT_EQ(hub.IPowerSysGetSleepTime(&a), 3);
    EXPECT_EQ(a, 77);
}

// The int32 `back` words before the end of a request.
int32_t wordFromEnd(const std::vector<uint8_t> &bytes, size_t back) {
    size_t at = bytes.size() - 4 * back;
    return int32_t(bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 |
                   uint32_t(bytes[at + 3]) << 24);
}

TEST_F(Hub, ClockCallsAddTheFormatSelector) {
    sp<FakeRemote> system = new FakeRemote("com.kivo.manager.ISystemManager");
    manager->addService(String16(kSystemName), system);
    system->script({0, 0});
    hub.ISystemGetMCURTCTime();
    EXPECT_EQ(system->lastCode, 1u);
    EXPECT_EQ(wordFromEnd(system->request, 1), 2);
    EXPECT_EQ(hub.ISystemSetMCURTCTime(2026, 1, 2, 3, 4, 5), 0);
    EXPECT_EQ(system->lastCode, 2u);
    EXPECT_EQ(wordFromEnd(system->request, 2), 5);
    EXPECT_EQ(wordFromEnd(system->request, 1), 2);
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
