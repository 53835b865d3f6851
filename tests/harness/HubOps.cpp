#include "HubOps.h"

#include <cstdlib>
#include <cstring>

const std::vector<HubOp> &allHubOps() {
    static const std::vector<HubOp> all = [] {
        std::vector<HubOp> ops;
        for (const auto *table : {
                 &cloudHubOps(),
                 &networkHubOps(),
                 &powerHubOps(),
                 &systemHubOps(),
                 &qd36nHubOps(),
                 &segLcdHubOps(),
                 &ttsHubOps(),
                 &pinpadHubOps(),
                 &icCardHubOps(),
                 &magcardHubOps(),
                 &rfidHubOps()}) {
            ops.insert(ops.end(), table->begin(), table->end());
        }
        return ops;
    }();
    return all;
}

const HubOp &hubOp(const char *name) {
    for (const HubOp &op : allHubOps()) {
        if (strcmp(op.name, name) == 0) return op;
    }
    abort();
}
