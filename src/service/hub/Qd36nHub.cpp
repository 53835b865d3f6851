// The hub's companion microcontroller operations.
#include "HubForward.h"

using android::IQd36nManager;

int BpTransferHub::IQd36nSetDateTime(char *text) {
    return pos::forward(mQd36n, &IQd36nManager::SetDatetime, text);
}

int BpTransferHub::IQd36nLedCtrl(int which, int value) {
    return pos::forward(mQd36n, &IQd36nManager::CtrlEx, which, value);
}

int BpTransferHub::IQd36nLedRed(int state) {
    return pos::forward(mQd36n, &IQd36nManager::LedRed, state);
}

int BpTransferHub::IQd36nLedGreen(int state) {
    return pos::forward(mQd36n, &IQd36nManager::LedGreen, state);
}

int BpTransferHub::IQd36nLedBlue(int state) {
    return pos::forward(mQd36n, &IQd36nManager::LedBlue, state);
}

int BpTransferHub::IQd36nResetSE() {
    return pos::forward(mQd36n, &IQd36nManager::ResetSE);
}

int BpTransferHub::IQd36nSetUsbSw(int position) {
    return pos::forward(mQd36n, &IQd36nManager::SetUsbSw, position);
}

int BpTransferHub::IQd36nGetUsbSw(int *position) {
    return pos::forward(mQd36n, &IQd36nManager::GetUsbSw, position);
}
