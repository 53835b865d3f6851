// How a hub operation reaches its service, in one line:
//
//   return pos::forward(mPower, &IPowerManager::SysSetLCDBrightness, level);
//
// binds the member with the binding routine of its interface (BindingOf below), then calls
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

// The binding routine of each service interface (an interface without a row does not compile).
template <typename I>
struct BindingOf;
// clang-format off
template <> struct BindingOf<android::ICloudManager> { static constexpr BindingRoutine<android::ICloudManager> routine = &GetCloudManagerService; };
template <> struct BindingOf<android::IICCardManager> { static constexpr BindingRoutine<android::IICCardManager> routine = &GetICCardManagerService; };
template <> struct BindingOf<android::IMagcardManager> { static constexpr BindingRoutine<android::IMagcardManager> routine = &GetMagcardManagerService; };
template <> struct BindingOf<android::IRFIDManager> { static constexpr BindingRoutine<android::IRFIDManager> routine = &GetRFIDManagerService; };
template <> struct BindingOf<android::IThermalManager> { static constexpr BindingRoutine<android::IThermalManager> routine = &GetThermalManagerService; };
template <> struct BindingOf<android::INetworkManager> { static constexpr BindingRoutine<android::INetworkManager> routine = &GetNetworkManagerService; };
template <> struct BindingOf<android::IPowerManager> { static constexpr BindingRoutine<android::IPowerManager> routine = &GetPowerManagerService; };
template <> struct BindingOf<android::ISystemManager> { static constexpr BindingRoutine<android::ISystemManager> routine = &GetSystemManagerService; };
template <> struct BindingOf<android::IPinpadManager> { static constexpr BindingRoutine<android::IPinpadManager> routine = &GetPinpadManagerService; };
template <> struct BindingOf<android::IWifiManager> { static constexpr BindingRoutine<android::IWifiManager> routine = &GetWifiManagerService; };
template <> struct BindingOf<android::ISecurityManager> { static constexpr BindingRoutine<android::ISecurityManager> routine = &GetSecurityManagerService; };
template <> struct BindingOf<android::IQd36nManager> { static constexpr BindingRoutine<android::IQd36nManager> routine = &GetQd36nManagerService; };
template <> struct BindingOf<android::ISegLcdManager> { static constexpr BindingRoutine<android::ISegLcdManager> routine = &GetSegLcdManagerService; };
template <> struct BindingOf<android::ITtsManager> { static constexpr BindingRoutine<android::ITtsManager> routine = &GetTtsManagerService; };
// clang-format on

// Binds `member` with its interface's routine: 0, or the binding code.
template <typename I>
int bind(android::sp<I> &member) {
    return BindingOf<I>::routine(member);
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
