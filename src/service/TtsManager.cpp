// The Tts service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/ITtsManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(TtsManager, "com.torva.binder.ITtsManager")

BpTtsManager::BpTtsManager(const sp<IBinder> &impl) : BpInterface<ITtsManager>(impl) {}

}  // namespace android
