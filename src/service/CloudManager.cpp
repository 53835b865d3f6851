// The test service's proxy: one transaction per operation. test() and print() read nothing
// after the exception code; add() and multiply() read their result.
#include "pos_sdk/service/ICloudManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(CloudManager, "com.cloud.test.ICloudManager")

BpCloudManager::BpCloudManager(const sp<IBinder> &impl) : BpInterface<ICloudManager>(impl) {}

void BpCloudManager::test() {
    pos::call(this, TEST).none();
}

void BpCloudManager::print(const char *text) {
    pos::call(this, PRINT, pos::text16(text)).none();
}

int BpCloudManager::add(int a, int b) {
    return pos::call(this, ADD, a, b).status();
}

int BpCloudManager::multiply(int a, int b) {
    return pos::call(this, MULTIPLY, a, b).status();
}

}  // namespace android
