// A service that records the raw bytes of each request it receives and answers with a
// scripted reply, and a fixture that checks a proxy's requests against bytes written from the
// protocol tables (WireBytes.h).
#ifndef POS_TESTS_WIRE_RECORDER_H
#define POS_TESTS_WIRE_RECORDER_H

#include <binder/Binder.h>
#include <binder/Parcel.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "WireBytes.h"

class RecordingService : public android::BBinder {
  public:
    explicit RecordingService(const char *descriptor) : mDescriptor(descriptor) {}

    const android::String16 &getInterfaceDescriptor() const override { return mDescriptor; }

    // The next replies: exception code 0 followed by `fields`.
    void script(const Bytes &fields) { mReply = Bytes().i32(0).append(fields).b; }
    void scriptRaw(const Bytes &reply) { mReply = reply.b; }

    uint32_t code = 0;
    uint32_t flags = 0;
    std::vector<uint8_t> request;
    int calls = 0;

  protected:
    android::status_t onTransact(uint32_t c, const android::Parcel &data, android::Parcel *reply,
                                 uint32_t f) override {
        ++calls;
        code = c;
        flags = f;
        request.assign(data.data(), data.data() + data.dataSize());
        reply->setData(mReply.data(), mReply.size());
        return android::NO_ERROR;
    }

  private:
    android::String16 mDescriptor;
    std::vector<uint8_t> mReply;
};

// A proxy of interface I over a recording service that answers as DESCRIPTOR (an ASCII text
// written out by the test, so the golden token does not come from our own descriptor).
template <typename I>
class WireTest : public ::testing::Test {
  protected:
    explicit WireTest(const char *descriptor)
        : mDescriptor(descriptor), mDescriptor16(u16(descriptor)) {}

    void SetUp() override {
        service = new RecordingService(mDescriptor);
        proxy = I::asInterface(service);
        ASSERT_NE(proxy, nullptr);
    }

    // The last request was `code` with the token and then exactly `fields`.
    void expectRequest(uint32_t code, const Bytes &fields) {
        EXPECT_EQ(service->code, code);
        EXPECT_EQ(service->flags, 0u);
        EXPECT_EQ(service->request, token(mDescriptor16).append(fields).b);
    }

    android::sp<RecordingService> service;
    android::sp<I> proxy;

  private:
    const char *mDescriptor;
    std::u16string mDescriptor16;
};

#endif
