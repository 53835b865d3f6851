// Proxy behaviour that does not depend on one service's table: transport failures, C-string
// replies and casting binders to interfaces.
#include <gtest/gtest.h>

#include <pos_sdk/service/IPowerManager.h>
#include <pos_sdk/service/ISystemManager.h>

#include "FakeBinders.h"
#include "WireBytes.h"
#include "service/ProxyCall.h"

using namespace android;

// A proxy using every argument and output form of the call helper, as later services will.
struct Record {
    int32_t a;
    char b[8];
};

class IProbe : public IInterface {
  public:
    static const String16 descriptor;
};
const String16 IProbe::descriptor("probe");

class BpProbe : public BpInterface<IProbe> {
  public:
    explicit BpProbe(const sp<IBinder> &remote) : BpInterface<IProbe>(remote) {}

    int send(const char *text16, const char *text, const void *bytes, int length,
             const Record *record) {
        return pos::call(this, 1, pos::text16(text16), pos::cstring(text),
                         pos::bytes(bytes, length), pos::record(record))
            .status();
    }
    int receive(char *out, char *copy, Record *record, int *value) {
        return pos::call(this, 2).status(pos::cstringOut(out), pos::cstringCopy(copy),
                                         pos::recordOut(record), value);
    }
    void none() { pos::call(this, 3).none(); }
};

// An interface whose proxy says nothing about a dead service.
class IQuietProbe : public IInterface {
  public:
    static const String16 descriptor;
};
const String16 IQuietProbe::descriptor("quiet");
template <>
struct pos::ReportsDeadObject<IQuietProbe> : std::false_type {};

class BpQuietProbe : public BpInterface<IQuietProbe> {
  public:
    explicit BpQuietProbe(const sp<IBinder> &remote) : BpInterface<IQuietProbe>(remote) {}
    int get(int *value) { return pos::call(this, 1).status(value); }
};

namespace {

TEST(Proxy, ArgumentFormsGoOutAsTheProtocolWritesThem) {
    sp<FakeRemote> remote = new FakeRemote("probe");
    remote->script({0, 5});
    BpProbe probe(remote);
    Record record = {0x01020304, "wxyz"};
    EXPECT_EQ(probe.send("h\xc3\xa9", "cs", "raw", 3, &record), 5);
    Bytes fields = Bytes().s16(u"h\u00e9").cstr("cs").i32(3).raw({'r', 'a', 'w'});
    fields.raw({4, 3, 2, 1, 'w', 'x', 'y', 'z', 0, 0, 0, 0});  // sizeof(Record): 12 bytes
    EXPECT_EQ(remote->request, token(u"probe").append(fields).b);
    EXPECT_EQ(remote->lastCode, 1u);

    // Nothing to send still keeps the request's shape: the null String16, an empty C string,
    // a length of 0 and a record of zeros.
    probe.send(nullptr, nullptr, nullptr, 9, nullptr);
    fields = Bytes().i32(-1).cstr("").i32(0).raw(std::vector<uint8_t>(sizeof(Record), 0));
    EXPECT_EQ(remote->request, token(u"probe").append(fields).b);
}

TEST(Proxy, OutputFormsAreReadInOrder) {
    sp<FakeRemote> remote = new FakeRemote("probe");
    BpProbe probe(remote);
    Bytes reply = Bytes().i32(0).i32(-4).cstr("860000").cstr("copied");
    reply.raw({8, 0, 0, 0, 'a', 'b', 'c', 0, 0, 0, 0, 0}).i32(77);
    remote->reply = reply.b;
    char out[16] = "", copy[16] = "";
    Record record = {};
    int value = 0;
    EXPECT_EQ(probe.receive(out, copy, &record, &value), -4);
    EXPECT_STREQ(out, "860000");
    EXPECT_STREQ(copy, "copied");
    EXPECT_EQ(record.a, 8);
    EXPECT_STREQ(record.b, "abc");
    EXPECT_EQ(value, 77);

    // A reply that ends after the status empties every output.
    remote->script({0, 1});
    EXPECT_EQ(probe.receive(out, copy, &record, &value), 1);
    EXPECT_STREQ(out, "");
    EXPECT_STREQ(copy, "");
    EXPECT_EQ(record.a, 0);
    EXPECT_EQ(value, 0);
    probe.none();
    EXPECT_EQ(remote->lastCode, 3u);
}

TEST(Proxy, SomeProxiesSayNothingAboutADeadService) {
    sp<FakeRemote> remote = new FakeRemote("quiet");
    remote->alive = false;
    BpQuietProbe quiet(remote);
    testing::internal::CaptureStdout();
    int value = 5;
    EXPECT_EQ(quiet.get(&value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

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
