#include "HubOps.h"

const std::vector<HubOp> &networkHubOps() {
    static const char *const kName = "KivoNetworkService";
    static const char *const kToken = "com.torva.binder.INetworkManager";
    // Text outputs hold any reply the tests or the reply fuzzer send (at most 4096 bytes):
    // the service's texts are copied unbounded. Text arguments are writable, as the hub's
    // signatures take them.
    static char s1[4096], s2[4096], s3[4096], s4[4096], s5[4096], s6[4096];
    static char at[] = "ATI", dns[] = "8.8.8.8", gsm[] = "GSM", apn[] = "cmnet", user[] = "u",
                pass[] = "p", auth[] = "3", ip[] = "IP", one[] = "1", zero[] = "0", ppp[] = "ppp0",
                number[] = "10086";
    static int a, b, c;
    static android::xstation_info_t station;
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    const Bytes apn6 = Bytes().cstr("GSM").cstr("cmnet").cstr("u").cstr("p").cstr("3").cstr("IP");
    static const std::vector<HubOp> ops = {
        {"INetGetDevIMEI", kName, kToken, 3, status, [](H &h) { return R{h.INetGetDevIMEI(s1)}; },
         Bytes()},
        {"INetGetDevIMSI", kName, kToken, 4, status, [](H &h) { return R{h.INetGetDevIMSI(s1)}; },
         Bytes()},
        {"INetGetDevICCID", kName, kToken, 5, status, [](H &h) { return R{h.INetGetDevICCID(s1)}; },
         Bytes()},
        {"INetGetSignalStrength", kName, kToken, 6, status,
         [](H &h) { return R{h.INetGetSignalStrength(&a)}; }, Bytes()},
        {"INetGetDevBasebanVersion", kName, kToken, 7, status,
         [](H &h) { return R{h.INetGetDevBasebanVersion(s1)}; }, Bytes()},
        {"INetGetSimStatus", kName, kToken, 8, status,
         [](H &h) { return R{h.INetGetSimStatus(&a)}; }, Bytes()},
        {"INetGetSimOperator", kName, kToken, 13, status,
         [](H &h) { return R{h.INetGetSimOperator(s1)}; }, Bytes()},
        {"INetGetDevBaseStation", kName, kToken, 9, status,
         [](H &h) { return R{h.INetGetDevBaseStation(&station)}; }, Bytes()},
        {"INetGetWirelesslinkStatus", kName, kToken, 10, status,
         [](H &h) { return R{h.INetGetWirelesslinkStatus(&a)}; }, Bytes()},
        {"ISendCustATCmd", kName, kToken, 26, status,
         [](H &h) { return R{h.ISendCustATCmd(at, s1)}; }, Bytes().cstr("ATI")},
        {"IGetCurDNSAddr", kName, kToken, 27, status, [](H &h) { return R{h.IGetCurDNSAddr(s1)}; },
         Bytes()},
        {"IGetDNSAddr", kName, kToken, 28, status, [](H &h) { return R{h.IGetDNSAddr(s1, 1)}; },
         Bytes().i32(1)},
        {"ISetDNSAddr", kName, kToken, 29, status, [](H &h) { return R{h.ISetDNSAddr(dns, 0)}; },
         Bytes().cstr("8.8.8.8").i32(0)},
        {"IGetPreferredNetworkType", kName, kToken, 30, status,
         [](H &h) { return R{h.IGetPreferredNetworkType(&a)}; }, Bytes()},
        {"ISetPreferredNetworkType", kName, kToken, 31, status,
         [](H &h) { return R{h.ISetPreferredNetworkType(3)}; }, Bytes().i32(3)},
        {"IGetEsmFailTimes", kName, kToken, 32, status,
         [](H &h) { return R{h.IGetEsmFailTimes(&a)}; }, Bytes()},
        {"ISetEsmFailTimes", kName, kToken, 33, status,
         [](H &h) { return R{h.ISetEsmFailTimes(4)}; }, Bytes().i32(4)},
        {"INetWirelessConnect", kName, kToken, 11, status,
         [](H &h) { return R{h.INetWirelessConnect(gsm, apn, user, pass, auth, ip)}; }, apn6},
        {"INetWirelessDisconnect", kName, kToken, 12, status,
         [](H &h) { return R{h.INetWirelessDisconnect(one, zero)}; }, Bytes().cstr("1").cstr("0")},
        {"INetGetNetworkIP", kName, kToken, 14, status,
         [](H &h) { return R{h.INetGetNetworkIP(ppp, s1)}; }, Bytes().cstr("ppp0")},
        {"INetWifiGoToSleep", kName, kToken, 1, status,
         [](H &h) { return R{h.INetWifiGoToSleep()}; }, Bytes()},
        {"INetWifiWakeUp", kName, kToken, 2, status, [](H &h) { return R{h.INetWifiWakeUp()}; },
         Bytes()},
        {"ISetRadioPower", kName, kToken, 15, status, [](H &h) { return R{h.ISetRadioPower(1)}; },
         Bytes().i32(1)},
        {"IWirelessGetModuleREG", kName, kToken, 16, status,
         [](H &h) { return R{h.IWirelessGetModuleREG(&a, s1, s2)}; }, Bytes()},
        {"ICallDIAL", kName, kToken, 17, status, [](H &h) { return R{h.ICallDIAL(number, 0)}; },
         Bytes().cstr("10086").i32(0)},
        {"ICallHandUpAll", kName, kToken, 18, status, [](H &h) { return R{h.ICallHandUpAll()}; },
         Bytes()},
        {"ICallGetCurCall", kName, kToken, 19, status,
         [](H &h) { return R{h.ICallGetCurCall(&a, &b, &c, s1)}; }, Bytes()},
        {"IWirelessEnable", kName, kToken, 20, status, [](H &h) { return R{h.IWirelessEnable(1)}; },
         Bytes().i32(1)},
        {"ISetAirPlaneMode", kName, kToken, 21, status,
         [](H &h) { return R{h.ISetAirPlaneMode(1)}; }, Bytes().i32(1)},
        {"ISetNetAutoConnect", kName, kToken, 22, status,
         [](H &h) { return R{h.ISetNetAutoConnect(3)}; }, Bytes().i32(3)},
        {"ISaveApnConfig", kName, kToken, 23, status,
         [](H &h) { return R{h.ISaveApnConfig(gsm, apn, user, pass, auth, ip)}; }, apn6},
        {"ILoadApnConfig", kName, kToken, 24, status,
         [](H &h) { return R{h.ILoadApnConfig(s1, s2, s3, s4, s5, s6)}; }, Bytes()},
        {"IGetQNetworkInfo", kName, kToken, 25, status,
         [](H &h) { return R{h.IGetQNetworkInfo(s1, s2, s3, &a)}; }, Bytes()},
    };
    return ops;
}
