// Records exchanged with the local servers and the layout of the child-application block.
// All integers are 32-bit little-endian and the records are packed.
#ifndef POS_SDK_SRC_PKG_WIRE_H
#define POS_SDK_SRC_PKG_WIRE_H

#include <cstddef>
#include <cstdint>

#include "pos_sdk/pkg.h"

namespace pkgwire {

constexpr const char *kPackageSocket = "/tmp/kv_pkg_server_socket";
constexpr const char *kBserverSocket = "/tmp/kivo_bserver_socket";
constexpr const char *kUpgradeSocket = "/tmp/kivo_upgrade_socket";
constexpr const char *kInitCmdSocket = "/tmp/kv_init_servers_cmd_sock";

constexpr std::size_t kTextField = 512;
constexpr int kStartArgSlots = 12;
constexpr std::size_t kArgSlot = 32;
constexpr std::size_t kShellAnswerMax = 128;

struct __attribute__((packed)) CommandRequest {
    int32_t code;
    char text[kTextField];
};

struct __attribute__((packed)) StartRequest {
    int32_t code;
    char appName[kTextField];
    int32_t argc;
    char argv[kStartArgSlots][kArgSlot];
};

struct __attribute__((packed)) InfoAnswerHead {
    int32_t status;
    int32_t unused;
};

struct __attribute__((packed)) ListAnswerHead {
    int32_t status;
    int32_t unused;
    int32_t count;
};

static_assert(sizeof(CommandRequest) == 516, "command request is 516 bytes");
static_assert(offsetof(CommandRequest, text) == 4, "command text follows the code");
static_assert(sizeof(StartRequest) == 904, "start request is 904 bytes");
static_assert(offsetof(StartRequest, appName) == 4, "start request name");
static_assert(offsetof(StartRequest, argc) == 516, "start request count");
static_assert(offsetof(StartRequest, argv) == 520, "start request arguments");
static_assert(sizeof(InfoAnswerHead) == 8, "info head is 8 bytes");
static_assert(sizeof(ListAnswerHead) == 12, "list head is 12 bytes");

static_assert(sizeof(PkgAppInfoRecord) == 552, "application-info record is 552 bytes");
static_assert(offsetof(PkgAppInfoRecord, flags) == 9, "info flags");
static_assert(offsetof(PkgAppInfoRecord, vendor) == 13, "info vendor");
static_assert(offsetof(PkgAppInfoRecord, appId) == 46, "info id");
static_assert(offsetof(PkgAppInfoRecord, verMajor) == 79, "info major");
static_assert(offsetof(PkgAppInfoRecord, verBuild) == 91, "info build");
static_assert(offsetof(PkgAppInfoRecord, sizeKb) == 95, "info size");
static_assert(offsetof(PkgAppInfoRecord, executable) == 99, "info executable");
static_assert(offsetof(PkgAppInfoRecord, icon) == 132, "info icon");
static_assert(offsetof(PkgAppInfoRecord, signer) == 165, "info signer");
static_assert(offsetof(PkgAppInfoRecord, installTime) == 198, "info install time");
static_assert(offsetof(PkgAppInfoRecord, state) == 202, "info state");
static_assert(offsetof(PkgAppInfoRecord, description) == 206, "info description");
static_assert(offsetof(PkgAppInfoRecord, category) == 271, "info category");
static_assert(offsetof(PkgAppInfoRecord, reserved1) == 288, "info reserved");
static_assert(offsetof(PkgAppInfoRecord, reserved2) == 292, "info reserved");
static_assert(offsetof(PkgAppInfoRecord, name) == 296, "info name");

static_assert(sizeof(PkgAppListEntry) == 326, "list entry is 326 bytes");
static_assert(offsetof(PkgAppListEntry, verMajor) == 33, "entry major");
static_assert(offsetof(PkgAppListEntry, verBuild) == 45, "entry build");
static_assert(offsetof(PkgAppListEntry, category) == 49, "entry category");
static_assert(offsetof(PkgAppListEntry, state) == 66, "entry state");
static_assert(offsetof(PkgAppListEntry, name) == 70, "entry name");

// Child-application block "/KVPKGSHMKEY": a head the package server keeps, then slots.
constexpr const char *kChildBlockName = "/KVPKGSHMKEY";
constexpr int kChildSlots = 24;

struct __attribute__((packed)) ChildSlot {
    char name[32];
    char state[16];
    char value[32];
};

struct __attribute__((packed)) ChildBlock {
    char head[12];
    ChildSlot slots[kChildSlots];
};

static_assert(sizeof(ChildSlot) == 80, "child slot is 80 bytes");
static_assert(offsetof(ChildSlot, state) == 32, "slot state");
static_assert(offsetof(ChildSlot, value) == 48, "slot value");
static_assert(sizeof(ChildBlock) == 1932, "child block is 1932 bytes");
static_assert(offsetof(ChildBlock, slots) == 12, "slots follow the head");

// Custom-settings table inside "/KVSYSTEMSHMKEY".
constexpr const char *kSystemBlockName = "/KVSYSTEMSHMKEY";
constexpr std::size_t kSystemBlockSize = 13200;
constexpr std::size_t kCustomTableOffset = 6600;
constexpr int kCustomEntries = 100;
constexpr int kFirstCustomEntry = 2;  // entries 0 and 1 belong to other users of the block

struct __attribute__((packed)) CustomEntry {
    char key[33];
    char value[33];
};

static_assert(sizeof(CustomEntry) == 66, "custom entry is 66 bytes");
static_assert(kCustomTableOffset + kCustomEntries * sizeof(CustomEntry) == kSystemBlockSize,
              "the custom table ends the system block");

// Copies SRC into a field of SIZE bytes: cut to SIZE - 1 characters, terminated; null
// reads as empty.
inline void copyField(char *field, std::size_t size, const char *src) {
    std::size_t n = 0;
    if (src != nullptr) {
        while (n + 1 < size && src[n] != '\0') {
            field[n] = src[n];
            ++n;
        }
    }
    field[n] = '\0';
}

}  // namespace pkgwire

#endif
