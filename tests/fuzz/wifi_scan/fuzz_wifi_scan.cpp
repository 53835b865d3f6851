// The Wi-Fi scan reply: whatever count and records the service sends, the proxy appends no
// more records than the reply holds bytes for, each exactly the bytes that arrived (the rest
// zero), after what the list held; a refusal appends nothing; every record is freed once.
#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <pos_sdk/service/IWifiManager.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "FuzzCheck.h"
#include "ReplyingBinder.h"

using namespace android;

namespace {


int32_t wordAt(const uint8_t *data, size_t size, size_t at) {
    if (at + 4 > size) return 0;
    return int32_t(uint32_t(data[at]) | uint32_t(data[at + 1]) << 8 | uint32_t(data[at + 2]) << 16 |
                   uint32_t(data[at + 3]) << 24);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    sp<IWifiManager> wifi = new BpWifiManager(new ReplyingBinder(data, size));
    smartlist_t *list = smartlist_new();
    smartlist_add(list, malloc(1));  // held before the scan: kept in place
    void *before = list->list[0];
    int status = wifi->WifiScan(list);
    FUZZ_CHECK(list->num_used >= 1 && list->list[0] == before);
    int appended = list->num_used - 1;

    // A strict-mode header moves the fields; those replies are only checked for bounds.
    bool plain = wordAt(data, size, 0) != -128;
    if (plain) {
        FUZZ_CHECK(status == wordAt(data, size, 4));
        const size_t first = 12;  // exception code, status, count
        int32_t count = wordAt(data, size, 8);
        if (status != 0 || count <= 0) FUZZ_CHECK(appended == 0);
        size_t room =
            size > first ? (size - first + sizeof(WifiScanRecord) - 1) / sizeof(WifiScanRecord) : 0;
        FUZZ_CHECK(size_t(appended) <= room);
        for (int i = 0; i < appended; ++i) {
            const uint8_t *record = static_cast<const uint8_t *>(list->list[i + 1]);
            size_t at = first + size_t(i) * sizeof(WifiScanRecord);
            size_t arrived = std::min(sizeof(WifiScanRecord), size - at);
            FUZZ_CHECK(memcmp(record, data + at, arrived) == 0);
            for (size_t b = arrived; b < sizeof(WifiScanRecord); ++b) FUZZ_CHECK(record[b] == 0);
        }
    }
    smartlist_free(list);
    return 0;
}
