// Raw request bytes and reply decoding of every test service transaction, and which of the
// small device proxies speak up about a dead service.
#include <gtest/gtest.h>

#include <pos_sdk/service/ICloudManager.h>
#include <pos_sdk/service/IQd36nManager.h>
#include <pos_sdk/service/ISegLcdManager.h>
#include <pos_sdk/service/ITtsManager.h>

#include "WireRecorder.h"

using namespace android;

namespace {

class CloudWire : public WireTest<ICloudManager> {
  protected:
    CloudWire() : WireTest("com.cloud.test.ICloudManager") {}
};

TEST_F(CloudWire, Requests) {
    service->script(Bytes());
    proxy->test();
    expectRequest(1, Bytes());
    proxy->print("hi");
    expectRequest(2, Bytes().s16(u"hi"));

    service->script(Bytes().i32(42));
    EXPECT_EQ(proxy->add(40, 2), 42);
    expectRequest(3, Bytes().i32(40).i32(2));
    EXPECT_EQ(proxy->multiply(-6, 7), 42);  // the reply's word is the result, whatever was asked
    expectRequest(4, Bytes().i32(-6).i32(7));
}

TEST(SmallDeviceProxies, OnlyTheTestServiceReportsADeadRemote) {
    // A proxy around no binder reads as one whose service died.
    testing::internal::CaptureStdout();
    int position = 9;
    char version[16] = "x";
    unsigned char text[] = "a";
    EXPECT_EQ(sp<IQd36nManager>(new BpQd36nManager(nullptr))->GetUsbSw(&position), 0);
    EXPECT_EQ(sp<ISegLcdManager>(new BpSegLcdManager(nullptr))->GetVersion(version), 0);
    EXPECT_EQ(sp<ITtsManager>(new BpTtsManager(nullptr))->TextToSpeech(1, text, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(position, 0);
    EXPECT_STREQ(version, "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

    testing::internal::CaptureStdout();
    EXPECT_EQ(sp<ICloudManager>(new BpCloudManager(nullptr))->add(1, 2), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "remote dead object !");
}

}  // namespace
