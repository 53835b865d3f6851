// The hub's security processor operations.
#include "HubForward.h"

using android::ISecurityManager;

const char *BpTransferHub::ISecurityGetRandom(int length) {
    return pos::forward(mSecurity, &ISecurityManager::SecurityGetRandom, length);
}

int BpTransferHub::ISecurityGetAntiTamperState(int *state) {
    return pos::forward(mSecurity, &ISecurityManager::SecurityGetAntiTamperState, state);
}

int BpTransferHub::ISecurityClearAntiTamperState(int mode, char *text, int length) {
    return pos::forward(mSecurity, &ISecurityManager::SecurityClearAntiTamperState, mode, text,
                        length);
}

int BpTransferHub::ISecurityClearSerialNumber(int mode, char *text, int length) {
    return pos::forward(mSecurity, &ISecurityManager::SecurityClearSerialNumber, mode, text,
                        length);
}

int BpTransferHub::ISecuritySetParam(int selector, char *value) {
    return pos::forward(mSecurity, &ISecurityManager::SecuritySetParam, selector, value);
}

const char *BpTransferHub::ISecurityGetParam(int selector) {
    return pos::forward(mSecurity, &ISecurityManager::SecurityGetParam, selector);
}

const char *BpTransferHub::ISecurityGetEncCID() {
    return pos::forward(mSecurity, &ISecurityManager::SecurityGetEncCID);
}

const char *BpTransferHub::ISecurityGetOSEncCID() {
    return pos::forward(mSecurity, &ISecurityManager::SecurityGetOSEncCID);
}

int BpTransferHub::ISecurityClearOSPubKey() {
    return pos::forward(mSecurity, &ISecurityManager::SecurityClearOSPubKey);
}
