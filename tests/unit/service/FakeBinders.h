// Stand-ins for the platform side of a binding: a remote binder whose liveness and transport
// result the test controls, and a service manager that counts its look-ups.
#ifndef POS_TESTS_FAKE_BINDERS_H
#define POS_TESTS_FAKE_BINDERS_H

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include <map>
#include <string>
#include <vector>

// Behaves like a proxy to another process: not a local binder, so interfaces wrap it.
class FakeRemote : public android::IBinder {
  public:
    explicit FakeRemote(const char *descriptor) : mDescriptor(descriptor) {}

    const android::String16 &getInterfaceDescriptor() const override { return mDescriptor; }
    bool isBinderAlive() const override {
        ++aliveChecks;
        return alive;
    }
    android::status_t pingBinder() override { return alive ? 0 : android::DEAD_OBJECT; }
    android::status_t transact(uint32_t code, const android::Parcel &data, android::Parcel *reply,
                               uint32_t) override {
        ++calls;
        lastCode = code;
        request.assign(data.data(), data.data() + data.dataSize());
        if (!alive) return android::DEAD_OBJECT;
        reply->setData(this->reply.data(), this->reply.size());
        return transportStatus;
    }

    // Scripts the reply words (exception code first).
    void script(std::vector<int32_t> words) {
        reply.clear();
        for (int32_t w : words) {
            for (int shift = 0; shift < 32; shift += 8) {
                reply.push_back(uint8_t(uint32_t(w) >> shift));
            }
        }
    }

    bool alive = true;
    android::status_t transportStatus = android::NO_ERROR;
    mutable int aliveChecks = 0;
    int calls = 0;
    uint32_t lastCode = 0;
    std::vector<uint8_t> request;
    std::vector<uint8_t> reply;

  private:
    android::String16 mDescriptor;
};

class CountingServiceManager : public android::IServiceManager {
  public:
    android::sp<android::IBinder> getService(const android::String16 &name) const override {
        ++lookups;
        auto found = services.find(android::String8(name).string());
        return found == services.end() ? nullptr : found->second;
    }
    android::sp<android::IBinder> checkService(const android::String16 &name) const override {
        return getService(name);
    }
    android::status_t addService(const android::String16 &name,
                                 const android::sp<android::IBinder> &service,
                                 bool = false) override {
        services[android::String8(name).string()] = service;
        return android::NO_ERROR;
    }
    std::vector<android::String16> listServices() override { return {}; }

    std::map<std::string, android::sp<android::IBinder>> services;
    mutable int lookups = 0;

  protected:
    android::IBinder *onAsBinder() override { return nullptr; }
};

#endif
