// Interface and proxy of the test service ("cloudservice"): a ping, a text to print and two
// small computations, for checking that binder calls reach a service at all.
#ifndef POS_SDK_SERVICE_ICLOUDMANAGER_H
#define POS_SDK_SERVICE_ICLOUDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ICloudManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(CloudManager)

    // Transaction codes.
    enum : uint32_t {
        TEST = 1,
        PRINT = 2,
        ADD = 3,
        MULTIPLY = 4,
    };

    virtual void test() = 0;
    virtual void print(const char *text) = 0;
    virtual int add(int a, int b) = 0;
    virtual int multiply(int a, int b) = 0;
};

class POS_API BpCloudManager : public BpInterface<ICloudManager> {
  public:
    explicit BpCloudManager(const sp<IBinder> &impl);

    void test() override;
    void print(const char *text) override;
    int add(int a, int b) override;
    int multiply(int a, int b) override;
};

}  // namespace android

#endif
