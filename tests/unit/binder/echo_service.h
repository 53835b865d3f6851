// A small service for the transport tests, used in-process and by the binder_echo_service
// program. Every call starts with the interface token of kEchoDescriptor.
#ifndef POS_TEST_ECHO_SERVICE_H
#define POS_TEST_ECHO_SERVICE_H

#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>

namespace echo {

constexpr char kEchoDescriptor[] = "pos.test.IEcho";

enum : uint32_t {
    ECHO = android::IBinder::FIRST_CALL_TRANSACTION,  // int32 n, String16 s -> n + 1, s
    GET_PID,                                          // -> the service's pid
    GET_CALLER_PID,                                   // -> the pid the service sees calling
    BLOB,                                             // int32 n, n raw bytes -> n, bytes reversed
};

class EchoService : public android::BBinder {
  public:
    const android::String16 &getInterfaceDescriptor() const override {
        static const android::String16 descriptor(kEchoDescriptor);
        return descriptor;
    }

    std::atomic<int> calls{0};
    std::atomic<std::thread::id> lastThread{};

  protected:
    android::status_t onTransact(uint32_t code, const android::Parcel &data, android::Parcel *reply,
                                 uint32_t flags) override {
        if (code < ECHO || code > BLOB) return BBinder::onTransact(code, data, reply, flags);
        if (!data.enforceInterface(getInterfaceDescriptor())) return android::PERMISSION_DENIED;
        ++calls;
        lastThread.store(std::this_thread::get_id());
        reply->writeNoException();
        switch (code) {
            case ECHO: {
                int32_t n = data.readInt32();
                android::String16 s = data.readString16();
                reply->writeInt32(n + 1);
                reply->writeString16(s);
                break;
            }
            case GET_PID:
                reply->writeInt32(getpid());
                break;
            case GET_CALLER_PID:
                reply->writeInt32(android::IPCThreadState::self()->getCallingPid());
                break;
            default: {
                int32_t n = data.readInt32();
                std::vector<uint8_t> bytes(n > 0 ? static_cast<size_t>(n) : 0);
                if (data.read(bytes.data(), bytes.size()) != android::OK) return android::BAD_VALUE;
                std::vector<uint8_t> reversed(bytes.rbegin(), bytes.rend());
                reply->writeInt32(n);
                reply->write(reversed.data(), reversed.size());
                break;
            }
        }
        return android::OK;
    }
};

}  // namespace echo

#endif
