// How a hub operation reaches its service, in one line:
//
//   return pos::forward(mPower, &IPowerManager::SysSetLCDBrightness, level);
//
// binds the member with the binding routine of its interface (kBindingOf below), then calls
// the operation on it. The operation must belong to the member's interface and the routine is
// chosen by that interface, so a wrong member or binding routine does not compile. When the
// service cannot be bound, an integer operation returns the binding code, a text operation
// null, and an operation without a result the binding code (else 0 after the call).
#ifndef POS_SERVICE_HUB_FORWARD_H
#define POS_SERVICE_HUB_FORWARD_H

#include <type_traits>

#include "pos_sdk/service/BpTransferHub.h"

namespace pos {

template <typename I>
using BindingRoutine = int (*)(android::sp<I> &);

// The binding routine of each service interface.
template <typename I>
constexpr BindingRoutine<I> kBindingOf = nullptr;
// clang-format off
template <> constexpr BindingRoutine<android::ICloudManager> kBindingOf<android::ICloudManager> = &GetCloudManagerService;
template <> constexpr BindingRoutine<android::IICCardManager> kBindingOf<android::IICCardManager> = &GetICCardManagerService;
template <> constexpr BindingRoutine<android::IMagcardManager> kBindingOf<android::IMagcardManager> = &GetMagcardManagerService;
template <> constexpr BindingRoutine<android::IRFIDManager> kBindingOf<android::IRFIDManager> = &GetRFIDManagerService;
template <> constexpr BindingRoutine<android::IThermalManager> kBindingOf<android::IThermalManager> = &GetThermalManagerService;
template <> constexpr BindingRoutine<android::INetworkManager> kBindingOf<android::INetworkManager> = &GetNetworkManagerService;
template <> constexpr BindingRoutine<android::IPowerManager> kBindingOf<android::IPowerManager> = &GetPowerManagerService;
template <> constexpr BindingRoutine<android::ISystemManager> kBindingOf<android::ISystemManager> = &GetSystemManagerService;
template <> constexpr BindingRoutine<android::IPinpadManager> kBindingOf<android::IPinpadManager> = &GetPinpadManagerService;
template <> constexpr BindingRoutine<android::IWifiManager> kBindingOf<android::IWifiManager> = &GetWifiManagerService;
template <> constexpr BindingRoutine<android::ISecurityManager> kBindingOf<android::ISecurityManager> = &GetSecurityManagerService;
template <> constexpr BindingRoutine<android::IQd36nManager> kBindingOf<android::IQd36nManager> = &GetQd36nManagerService;
template <> constexpr BindingRoutine<android::ISegLcdManager> kBindingOf<android::ISegLcdManager> = &GetSegLcdManagerService;
template <> constexpr BindingRoutine<android::ITtsManager> kBindingOf<android::ITtsManager> = &GetTtsManagerService;
// clang-format on

// Binds `member` with its interface's routine: 0, or the binding code.
template <typename I>
int bind(android::sp<I> &member) {
    static_assert(kBindingOf<I> != nullptr, "no binding routine for this interface");
    return kBindingOf<I>(member);
}

// Keeps a parameter out of template deduction: the operation alone fixes the argument types,
// and the hub's arguments convert to them.
template <typename T>
struct AsDeclared {
    using type = T;
};

template <typename I, typename R, typename... P>
auto forward(android::sp<I> &member, R (I::*operation)(P...),
             typename AsDeclared<P>::type... args) {
    int bound = bind(member);
    if constexpr (std::is_void_v<R>) {
        if (bound == 0) (member.get()->*operation)(args...);
        return bound;
    } else if constexpr (std::is_pointer_v<R>) {
        return bound != 0 ? R(nullptr) : (member.get()->*operation)(args...);
    } else {
        return bound != 0 ? R(bound) : (member.get()->*operation)(args...);
    }
}

}  // namespace pos

#endif
