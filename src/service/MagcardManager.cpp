// The magnetic stripe service's proxy: one transaction per operation; tracks go out as C
// strings and come back as String16.
#include "pos_sdk/service/IMagcardManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(MagcardManager, "com.kivo.device.manager.IMagcardManager")

BpMagcardManager::BpMagcardManager(const sp<IBinder> &impl) : BpInterface<IMagcardManager>(impl) {}

int BpMagcardManager::MagcardOpen(int mode) {
    return pos::call(this, OPEN, mode).status();
}

int BpMagcardManager::MagcardClose() {
    return pos::call(this, CLOSE).status();
}

int BpMagcardManager::MagcardRead(int tracks, int timeout) {
    return pos::call(this, READ, tracks, timeout).status();
}

const char *BpMagcardManager::MagcardReadData(int track) {
    return pos::call(this, READ_DATA, track).text();
}

int BpMagcardManager::MagcardWrite(const char *track1, const char *track2, const char *track3,
                                   int mode) {
    return pos::call(this, WRITE, pos::cstring(track1), pos::cstring(track2), pos::cstring(track3),
                     mode)
        .status();
}

int BpMagcardManager::MagcardStatus(int *state) {
    return pos::call(this, STATUS).status(state);
}

int BpMagcardManager::MagcardCancel() {
    return pos::call(this, CANCEL).status();
}

}  // namespace android
