// Each item is one small file under "/tmp/.sysglue" (system properties, shared properties,
// radio state). Inside the simulated terminal /tmp is private, so every sandbox has its own
// store; writers replace a file by renaming a finished copy over it, so a reader never sees
// half a value.
#include "sysglue/sysglue.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#define SYSGLUE_API extern "C" __attribute__((visibility("default")))

namespace {

const char *const kRoot = "/tmp/.sysglue";

// Keys become file names: refuse anything that could leave the store's directory.
bool validKey(const char *key) {
    if (key == nullptr || key[0] == '\0' || key[0] == '.') return false;
    size_t n = strnlen(key, 128);
    return n < 128 && strchr(key, '/') == nullptr;
}

std::string itemPath(const char *area, const char *key) {
    return std::string(kRoot) + "/" + area + "/" + key;
}

// Reads the item into BUF (SIZE bytes, terminated); trailing line ends are dropped.
int readItem(const char *area, const char *key, char *buf, size_t size) {
    if (!validKey(key) || buf == nullptr) return -1;
    int fd = open(itemPath(area, key).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    char text[KV_PROP_VALUE_MAX];
    ssize_t n = read(fd, text, sizeof text - 1);
    close(fd);
    if (n < 0) return -1;
    while (n > 0 && (text[n - 1] == '\n' || text[n - 1] == '\r')) --n;
    text[n] = '\0';
    size_t copy = size_t(n) < size ? size_t(n) : size - 1;
    memcpy(buf, text, copy);
    buf[copy] = '\0';
    return 0;
}

int makeDirs(const std::string &dir) {
    std::string partial;
    for (size_t pos = 1; pos != std::string::npos;) {
        pos = dir.find('/', pos + 1);
        partial = dir.substr(0, pos);
        if (mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST) return -1;
    }
    return 0;
}

int writeItem(const char *area, const char *key, const char *value) {
    if (!validKey(key) || value == nullptr) return -1;
    std::string dir = std::string(kRoot) + "/" + area;
    if (makeDirs(dir) != 0) return -1;
    std::string tmp = dir + "/.tmp." + std::to_string(getpid()) + "." + key;
    int fd = open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return -1;
    size_t len = strnlen(value, KV_PROP_VALUE_MAX - 1);
    bool ok = write(fd, value, len) == ssize_t(len);
    ok = close(fd) == 0 && ok;
    if (!ok || rename(tmp.c_str(), itemPath(area, key).c_str()) != 0) {
        unlink(tmp.c_str());
        return -1;
    }
    return 0;
}

int readInts(const char *name, int *first, int *second) {
    char text[KV_PROP_VALUE_MAX];
    if (readItem("radio", name, text, sizeof text) != 0) return -1;
    char *end = nullptr;
    long a = strtol(text, &end, 10);
    if (end == text) return -1;
    *first = int(a);
    if (second != nullptr) {
        char *rest = end;
        long b = strtol(rest, &end, 10);
        if (end == rest) return -1;
        *second = int(b);
    }
    return 0;
}

int readInt(const char *name, int *out) {
    if (out == nullptr) return -1;
    int value = 0;
    if (readInts(name, &value, nullptr) != 0) return -1;
    *out = value;
    return 0;
}

}  // namespace

SYSGLUE_API int kvgetsysver(const char *key, char *value) {
    return readItem("prop", key, value, KV_PROP_VALUE_MAX);
}

SYSGLUE_API int kvsetsysver(const char *key, const char *value) {
    return writeItem("prop", key, value);
}

SYSGLUE_API int kvgetcutom(const char *key, char *value) {
    return readItem("custom", key, value, KV_PROP_VALUE_MAX);
}

SYSGLUE_API int kvsetcutom(const char *key, const char *value) {
    return writeItem("custom", key, value);
}

SYSGLUE_API int kv_set_radio_state(const char *name, const char *text) {
    return writeItem("radio", name, text);
}

SYSGLUE_API int KV_GET_RADIO_SIMSTATE(int *state) {
    return readInt("simstate", state);
}

SYSGLUE_API int KV_GET_RADIO_SIGNAL(int *signal, int *ber) {
    if (signal == nullptr || ber == nullptr) return -1;
    int s = 0, b = 0;
    if (readInts("signal", &s, &b) != 0) return -1;
    *signal = s;
    *ber = b;
    return 0;
}

SYSGLUE_API int kv_get_GSM_stat(int *stat) {
    return readInt("gsm_stat", stat);
}

SYSGLUE_API int KV_GET_NETWORK_MODE(int *mode) {
    return readInt("network_mode", mode);
}

SYSGLUE_API int KV_GET_WIFI_SIGNA(int *rssi) {
    return readInt("wifi_rssi", rssi);
}
