// Every simulated service of the registry (built in-process, a fresh one per input) against a
// run of requests: random codes and parcels, with and without the right interface token, and
// control commands. Whatever arrives, a service answers its own codes with a reply that starts
// with the exception code 0, refuses a missing token, leaves other codes to BBinder, answers a
// control command with a status and JSON, and keeps a state that reads as a JSON object.
//
// Input: one byte choosing the service, then requests of [flags, code, length, bytes...]:
//   flags bit 0  write the service's interface token first
//   flags bit 1  the control transaction (the bytes are its command text)
//   flags bit 2  the code byte with the next three bytes is a 32-bit code
//   flags bit 3  no reply parcel (a one-way call)
#include <binder/Parcel.h>

#include <nlohmann/json.hpp>

#include <cstring>
#include <string>

#include "FuzzCheck.h"
#include "Registry.h"
#include "SimControl.h"

using namespace android;

namespace {

// Delays would only make the fuzzer sleep: they are switched off after every command.
const char kNoDelay[] = R"({"command":"fault","kind":"delay","count":0,"ms":0})";

struct Input {
    const uint8_t *data;
    size_t size;
    size_t at = 0;

    bool more() const { return at < size; }
    uint8_t byte() { return at < size ? data[at++] : 0; }
};

void checkControlReply(const Parcel &reply) {
    FUZZ_CHECK(reply.readExceptionCode() == 0);
    int32_t status = reply.readInt32();
    FUZZ_CHECK(status == 0 || status == -1);
    const char *text = reply.readCString();
    FUZZ_CHECK(text != nullptr);
    FUZZ_CHECK(!nlohmann::json::parse(text, nullptr, false).is_discarded());
}

void call(possim::SimService &service, Input &in) {
    uint8_t flags = in.byte();
    uint32_t code = in.byte();
    if (flags & 4)
        code |= uint32_t(in.byte()) << 8 | uint32_t(in.byte()) << 16 | uint32_t(in.byte()) << 24;
    if (flags & 2) code = possim::kControlTransaction;
    size_t length = in.byte();
    std::string bytes;
    while (bytes.size() < length && in.more()) bytes += char(in.byte());

    Parcel data, reply;
    if (flags & 1) data.writeInterfaceToken(service.getInterfaceDescriptor());
    if (code == possim::kControlTransaction) {
        data.writeCString(bytes.c_str());
    } else {
        data.write(bytes.data(), bytes.size());
    }
    status_t status = service.transact(code, data, (flags & 8) ? nullptr : &reply);

    if (code == possim::kControlTransaction) {
        FUZZ_CHECK(status == OK);
        if (!(flags & 8)) checkControlReply(reply);
        int ignored;
        service.control(kNoDelay, &ignored);
    } else if (service.handles(code)) {
        // Without the token: refused. With it: answered, or the reply dropped by a fault.
        FUZZ_CHECK((flags & 1) ? status == OK || status == FAILED_TRANSACTION : status == BAD_TYPE);
        if (status == OK && !(flags & 8)) FUZZ_CHECK(reply.readExceptionCode() == 0);
    } else if (code != IBinder::PING_TRANSACTION && code != IBinder::INTERFACE_TRANSACTION) {
        FUZZ_CHECK(status == UNKNOWN_TRANSACTION);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto &services = possim::simulatedServices();
    Input in{data, size};
    const possim::ServiceEntry &entry = services[in.byte() % services.size()];
    sp<possim::SimService> service = entry.make(nlohmann::json::object());
    while (in.more()) call(*service, in);
    FUZZ_CHECK(nlohmann::json::parse(service->stateText()).is_object());
    return 0;
}
