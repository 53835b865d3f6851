// Reply decoding: a binder that answers every transaction with the fuzz bytes, behind every
// hub operation of every service, the service manager's list and the C-string reader the
// proxies export. Whatever the service sends, an integer reply reads the words
// that are there and 0 for those that are not, and text comes back terminated.
#include <binder/IBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ServiceManagerHost.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <cstring>
#include <vector>

#include "FuzzCheck.h"
#include "ReplyingBinder.h"
#include "HubOps.h"
#include "service/ProxyCall.h"

using namespace android;

namespace {


// The reply's words as a service writes them: the exception code, then the fields.
struct ReplyWords {
    const uint8_t *data;
    size_t size;

    // A strict-mode header moves the fields by its own size; those replies are left to the
    // parcel's own target and only checked for not crashing here.
    bool plain() const { return word(0) != -128; }

    int32_t word(size_t index) const {
        size_t at = index * 4;
        if (at + 4 > size) return 0;  // a field the reply does not hold reads as 0
        uint32_t v = uint32_t(data[at]) | uint32_t(data[at + 1]) << 8 |
                     uint32_t(data[at + 2]) << 16 | uint32_t(data[at + 3]) << 24;
        return int32_t(v);
    }
};

// Text is the UTF-8 of units this reply holds: at most three bytes for each two-byte unit.
void checkText(const char *text, const ReplyWords &reply) {
    FUZZ_CHECK(text != nullptr);
    FUZZ_CHECK(strlen(text) <= reply.size / 2 * 3);
}

// Every hub operation of every service, each service answering with the fuzz bytes. Status
// operations hand on the status word; text comes back terminated and bounded by the reply.
void exerciseHub(const uint8_t *data, size_t size, const ReplyWords &reply) {
    static const sp<IServiceManager> manager = [] {
        sp<IServiceManager> m = createInProcessServiceManager();
        setDefaultServiceManager(m);
        return m;
    }();
    for (const HubOp &op : allHubOps()) {
        manager->addService(String16(op.service), new ReplyingBinder(data, size));
    }
    BpTransferHub hub;
    for (const HubOp &op : allHubOps()) {
        HubResult r = op.call(hub);
        if (op.returns == HubReturns::Text) checkText(r.text, reply);
        if (op.returns == HubReturns::Nothing) FUZZ_CHECK(r.status == 0);
        if (op.returns == HubReturns::Status && reply.plain())
            FUZZ_CHECK(r.status == reply.word(1));
    }
}

// The service manager's list: however many names the reply claims, no more are read than it
// holds (a name takes at least its length word).
void exerciseServiceList(const sp<IBinder> &binder, size_t size) {
    sp<IServiceManager> manager = IServiceManager::asInterface(binder);
    FUZZ_CHECK(manager != nullptr);
    std::vector<String16> names = manager->listServices();
    FUZZ_CHECK(names.size() <= size / 4);
}

// Walks the bytes as a run of C strings into a buffer just large enough for the longest
// string the parcel could hold, so any copy past that is caught.
void exerciseCStrings(const uint8_t *data, size_t size) {
    Parcel reply;
    reply.setData(data, size);
    std::vector<char> dst(size > 0 ? size : 1);
    for (;;) {
        size_t before = reply.dataPosition();
        char *text = x_readCStringFromParcel(reply, dst.data());
        if (text == nullptr) {
            FUZZ_CHECK(dst[0] == '\0');
            break;
        }
        FUZZ_CHECK(text == dst.data());
        size_t len = strlen(text);
        FUZZ_CHECK(before + len < size);
        FUZZ_CHECK(memcmp(text, data + before, len) == 0);
        FUZZ_CHECK(reply.dataPosition() > before);
    }
    reply.setDataPosition(0);
    (void)x_readCStringFromParcel(reply, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    ReplyWords reply{data, size};
    exerciseHub(data, size, reply);
    exerciseServiceList(new ReplyingBinder(data, size), size);
    exerciseCStrings(data, size);
    return 0;
}
