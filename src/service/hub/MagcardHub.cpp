// The hub's magnetic stripe operations.
#include "HubForward.h"

using android::IMagcardManager;

int BpTransferHub::IMagcardOpen(int mode) {
    return pos::forward(mMagcard, &IMagcardManager::MagcardOpen, mode);
}

int BpTransferHub::IMagcardClose() {
    return pos::forward(mMagcard, &IMagcardManager::MagcardClose);
}

int BpTransferHub::IMagcardRead(int tracks, int timeout) {
    return pos::forward(mMagcard, &IMagcardManager::MagcardRead, tracks, timeout);
}

const char *BpTransferHub::IMagcardReadData(int track) {
    return pos::forward(mMagcard, &IMagcardManager::MagcardReadData, track);
}

int BpTransferHub::IMagcardWrite(const char *track1, const char *track2, const char *track3,
                                 int mode) {
    return pos::forward(mMagcard, &IMagcardManager::MagcardWrite, track1, track2, track3, mode);
}

int BpTransferHub::IMagcardStatus(int *state) {
    return pos::forward(mMagcard, &IMagcardManager::MagcardStatus, state);
}

int BpTransferHub::IMagcardCancel() {
    return pos::forward(mMagcard, &IMagcardManager::MagcardCancel);
}
