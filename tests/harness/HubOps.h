// Every hub operation, one table per service: its name, its service, the transaction it sends
// and the request fields it sends for the arguments its call uses. The hub tests, the reply
// fuzz target and bench_hub walk these tables, so a service's operations are listed once.
#ifndef POS_TESTS_HUB_OPS_H
#define POS_TESTS_HUB_OPS_H

#include <pos_sdk/service/BpTransferHub.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "WireBytes.h"

// What a hub operation returns.
enum class HubReturns {
    Status,   // the service's status unchanged (or the binding code)
    Mapped,   // a value the hub derives from the reply (or the binding code)
    Text,     // text (null when the service cannot be bound)
    Nothing,  // 0 once the call is made, whatever the reply (or the binding code)
};

struct HubResult {
    int status = 0;
    const char *text = nullptr;
};

struct HubOp {
    const char *name;
    const char *service;     // registered name
    const char *descriptor;  // interface token
    uint32_t code;
    HubReturns returns;
    std::function<HubResult(BpTransferHub &)> call;
    Bytes request;  // the fields after the interface token
};

const std::vector<HubOp> &networkHubOps();
const std::vector<HubOp> &powerHubOps();
const std::vector<HubOp> &systemHubOps();
const std::vector<HubOp> &pinpadHubOps();
const std::vector<HubOp> &cloudHubOps();
const std::vector<HubOp> &qd36nHubOps();
const std::vector<HubOp> &segLcdHubOps();
const std::vector<HubOp> &ttsHubOps();
const std::vector<HubOp> &icCardHubOps();
const std::vector<HubOp> &magcardHubOps();
const std::vector<HubOp> &rfidHubOps();
// Every service's operations, in the hub's member order.
const std::vector<HubOp> &allHubOps();
// The operation called NAME; aborts when there is none.
const HubOp &hubOp(const char *name);

#endif
