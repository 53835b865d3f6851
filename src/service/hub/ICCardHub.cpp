// The hub's contact IC card operations.
#include "HubForward.h"

using android::IICCardManager;

int BpTransferHub::IICCardOpen(int slot, int mode) {
    return pos::forward(mICCard, &IICCardManager::ICCardOpen, slot, mode);
}

int BpTransferHub::IICCardClose(int slot) {
    return pos::forward(mICCard, &IICCardManager::ICCardClose, slot);
}

int BpTransferHub::IICCardAsyncCardWorkAttr(int slot, int voltage, int standard, int pps, int baud,
                                            int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardAsyncCardWorkAttr, slot, voltage, standard,
                        pps, baud, timeout);
}

const char *BpTransferHub::IICCardPowerOn(int slot, int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardPowerOn, slot, timeout);
}

int BpTransferHub::IICCardPowerOff(int slot, int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardPowerOff, slot, timeout);
}

const char *BpTransferHub::IICCardAsyncCardComm(int slot, const char *apdu, int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardAsyncCardComm, slot, apdu, timeout);
}

int BpTransferHub::IICCardDeckCheck(int slot, int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardDeckCheck, slot, timeout);
}

const char *BpTransferHub::IICCardSyncCardComm(int slot, int cardType, const char *command,
                                               int timeout) {
    return pos::forward(mICCard, &IICCardManager::ICCardSyncCardComm, slot, cardType, command,
                        timeout);
}
