#include "servers/request_log.h"

#include <cstdio>

namespace possim {

std::string quoteText(const std::string &text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += char(c);
        } else if (c < 0x20 || c == 0x7f) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out += char(c);
        }
    }
    return out + "\"";
}

void RequestLog::record(const std::string &server, int code, const std::string &fields,
                        const std::string &answer) {
    std::lock_guard<std::mutex> lock(mutex_);
    FILE *fp = std::fopen(file_.c_str(), "a");
    if (fp == nullptr) return;
    std::fprintf(fp, "%s %d %s -> %s\n", server.c_str(), code, fields.c_str(), answer.c_str());
    std::fclose(fp);
}

}  // namespace possim
