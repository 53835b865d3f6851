// System information and parameters: versions from the system properties, the hardware
// version from the board driver, the serial number from the system service's device
// information record 1, named parameters from the custom settings and the factory-test step
// from the init command server.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sysglue/sysglue.h>

#include "OsRequests.h"
#include "pos_sdk/app.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/service/BpTransferHub.h"
#include "pos_sdk/sysinfo.h"
#include "pos_sdk/util.h"

namespace {

BpTransferHub *const gHub = BpTransferHub::getInstance();

const char *const kHwVersionFile = "/sys/bus/platform/drivers/kivosys/hw_version";
const char *const kBootModeKey = "KIVO.SYS.BOOT.MODE";
const char *const kFirmwareInfoKey = "kivo.config.mcu.firmware.info";
const char *const kRadioModuleKey = "KV_RADIO_MODULE_VERSION";

constexpr int kSerialRecord = 1;
constexpr size_t kSerialRecordBytes = 64;
constexpr size_t kSerialHeadBytes = 7;  // four zero bytes, the tag, the length
constexpr int kMinFirmwareInfoSize = 32;

// The property of version TYPE, or null for a type that has none.
const char *versionKey(int type) {
    switch (type) {
        case OS_VER_SYSTEM:
            return "kivo.system.version";
        case OS_VER_MIDDLEWARE:
            return "kivo.config.mid.version";
        case OS_VER_MCU_SOFTWARE:
            return "kivo.config.mcu.softver";
        case OS_VER_MCU_FIRMWARE:
            return kFirmwareInfoKey;
        default:
            return nullptr;
    }
}

int readVersion(int type, char *out) {
    const char *key = versionKey(type);
    return key == nullptr ? -1 : kvgetsysver(key, out);
}

void logVersionError(int ret) {
    Log_Err("OsGetSysVer Err [%d]\n", ret);
}

bool isBlank(const char *text) {
    return text == nullptr || text[0] == '\0';
}

// Decodes device information record 1 into OUT; false for a record that is not one.
bool decodeSerialRecord(const char *hex, unsigned char *out) {
    unsigned char record[kSerialRecordBytes] = {};
    // A longer reply would not fit the record: only its first 64 bytes are read.
    size_t digits = strnlen(hex, 2 * kSerialRecordBytes);
    StrToByte(reinterpret_cast<const unsigned char *>(hex), static_cast<int>(digits), record);
    if (record[0] != 0 || record[1] != 0 || record[2] != 0 || record[3] != 0) return false;
    if (record[4] != 1) return false;
    size_t length = record[5] | size_t(record[6]) << 8;
    // A length past the record's end cannot be a serial number: reading on would overrun.
    if (length > kSerialRecordBytes - kSerialHeadBytes) return false;
    memcpy(out, record + kSerialHeadBytes, length);
    return true;
}

}  // namespace

extern "C" {

POS_API char *substring_before_first_occurrence(const char *source, const char *needle,
                                                char *destination) {
    const char *found = strstr(source, needle);
    size_t length = found != nullptr ? size_t(found - source) : strlen(source);
    memcpy(destination, source, length);
    destination[length] = '\0';
    return destination;
}

POS_API void OsGetSysVer(int type, char *out) {
    if (out == nullptr) return;
    int ret = readVersion(type, out);
    if (ret != 0) logVersionError(ret);
}

POS_API void OsGetSysVersion(int type, char *out) {
    if (out == nullptr) return;
    int ret;
    if (type == OS_VER_MCU_FIRMWARE) {
        ret = readVersion(type, out);
    } else if (versionKey(type) != nullptr) {
        char full[128] = {};
        ret = readVersion(type, full);
        if (ret == 0) substring_before_first_occurrence(full, "-", out);
    } else {
        ret = -1;
    }
    // The same message as OsGetSysVer, kept for compatibility.
    if (ret != 0) logVersionError(ret);
}

POS_API int OsFirmwareGetVersion(char *out, int size) {
    if (out == nullptr || size < kMinFirmwareInfoSize) return OS_ERR_BAD_ARGUMENT;
    // The property reader may write KV_PROP_VALUE_MAX bytes: read in full here, hand on
    // no more than the caller's SIZE.
    char info[KV_PROP_VALUE_MAX] = {};
    int ret = kvgetsysver(kFirmwareInfoKey, info);
    if (ret != 0) {
        logVersionError(ret);
        return OS_ERR_VERSION_UNREADABLE;
    }
    snprintf(out, size_t(size), "%s", info);
    return 0;
}

POS_API void OsGetHwVersion(char *out) {
    if (out == nullptr) return;
    FILE *file = fopen(kHwVersionFile, "r");
    if (file == nullptr) {
        strcpy(out, "0");
        return;
    }
    char version[4] = {};
    size_t n = fread(version, 1, 2, file);
    (void)n;  // a short read leaves the rest zero
    fclose(file);
    strcpy(out, version);
}

POS_API int OsGetSysBootMode(int *mode) {
    if (mode == nullptr) return -1;
    *mode = 0;
    // Room for the longest property value, not only for a number: the reader copies it whole.
    char text[KV_PROP_VALUE_MAX] = {};
    int ret = kvgetsysver(kBootModeKey, text);
    if (ret == 0) *mode = atoi(text);
    return ret;
}

POS_API int OsGetWirelessModuleVer(char *out) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    return kivogetcustom(kRadioModuleKey, out);
}

POS_API int OsGetSysParam(const char *key, char *value) {
    if (isBlank(key) || value == nullptr) return -1;
    return kivogetcustom(key, value);
}

POS_API int OsSetSysParam(const char *key, const char *value) {
    if (isBlank(key) || value == nullptr) return -1;
    return kivosetcustom(key, value);
}

POS_API int OsGetTermSn(unsigned char *out) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    const char *record = gHub->ISystemGetDevInfo(kSerialRecord);
    if (record == nullptr || strnlen(record, 8) < 8) return OS_ERR_SERVICE_FAILED;
    return decodeSerialRecord(record, out) ? 0 : OS_ERR_SERVICE_FAILED;
}

POS_API int OsSetTermSn(const char *text) {
    if (text == nullptr) return OS_ERR_BAD_ARGUMENT;
    // The hub takes the text as char * but only reads it.
    int ret = gHub->ISystemSetDevInfo(kSerialRecord, const_cast<char *>(text));
    OsLog(0, "ISystemSetDevInfo ret = %d", ret);
    return ret == 0 ? 0 : OS_ERR_SERVICE_FAILED;
}

POS_API int OsGetFactoryTestStep(void) {
    return osreq::initCommand(PKG_CMD_GET_TEST_STEP, "");
}

POS_API int OsSetFactoryTestStep(int step) {
    char text[8] = {};
    // Steps of more than seven characters are cut, not written past the buffer.
    snprintf(text, sizeof text, "%d", step);
    return osreq::initCommand(PKG_CMD_SET_TEST_STEP, text);
}

}  // extern "C"
