// The contact IC card service's proxy: one transaction per operation, text as String16.
#include "pos_sdk/service/IICCardManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(ICCardManager, "com.kivo.device.manager.IICCardManager")

BpICCardManager::BpICCardManager(const sp<IBinder> &impl) : BpInterface<IICCardManager>(impl) {}

int BpICCardManager::ICCardOpen(int slot, int mode) {
    return pos::call(this, OPEN, slot, mode).status();
}

int BpICCardManager::ICCardClose(int slot) {
    return pos::call(this, CLOSE, slot).status();
}

int BpICCardManager::ICCardAsyncCardWorkAttr(int slot, int voltage, int standard, int pps, int baud,
                                             int timeout) {
    return pos::call(this, ASYNC_CARD_WORK_ATTR, slot, voltage, standard, pps, baud, timeout)
        .status();
}

const char *BpICCardManager::ICCardPowerOn(int slot, int timeout) {
    return pos::call(this, POWER_ON, slot, timeout).text();
}

int BpICCardManager::ICCardPowerOff(int slot, int timeout) {
    return pos::call(this, POWER_OFF, slot, timeout).status();
}

const char *BpICCardManager::ICCardAsyncCardComm(int slot, const char *apdu, int timeout) {
    return pos::call(this, ASYNC_CARD_COMM, slot, pos::text16(apdu), timeout).text();
}

int BpICCardManager::ICCardDeckCheck(int slot, int timeout) {
    return pos::call(this, DECK_CHECK, slot, timeout).status();
}

const char *BpICCardManager::ICCardSyncCardComm(int slot, int cardType, const char *command,
                                                int timeout) {
    return pos::call(this, SYNC_CARD_COMM, slot, cardType, pos::text16(command), timeout).text();
}

}  // namespace android
