#include "web/WebAccess.h"

#include <arpa/inet.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

namespace possim {
namespace web {

bool parseListenAddress(const std::string &text, std::string &address, int &port,
                        std::string &error) {
    size_t colon = text.rfind(':');
    std::string portText = colon == std::string::npos ? text : text.substr(colon + 1);
    address = colon == std::string::npos ? "127.0.0.1" : text.substr(0, colon);
    in_addr parsed;
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
        error = "--web " + text + ": not an IPv4 address: " + address;
        return false;
    }
    char *end = nullptr;
    errno = 0;
    long value = portText.empty() ? -1 : strtol(portText.c_str(), &end, 10);
    if (value < 0 || value > 65535 || errno != 0 || *end != '\0') {
        error = "--web " + text + ": not a port (0 to 65535): " + portText;
        return false;
    }
    port = static_cast<int>(value);
    return true;
}

std::string randomToken() {
    unsigned char bytes[16];
    size_t got = 0;
    while (got < sizeof bytes) {
        ssize_t n = getrandom(bytes + got, sizeof bytes - got, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return "";
        got += static_cast<size_t>(n);
    }
    static const char kHex[] = "0123456789abcdef";
    std::string token;
    for (unsigned char b : bytes) {
        token += kHex[b >> 4];
        token += kHex[b & 15];
    }
    return token;
}

bool tokenMatches(const std::string &given, const std::string &token) {
    if (token.empty() || given.size() != token.size()) return false;
    unsigned char difference = 0;
    for (size_t i = 0; i < token.size(); ++i) {
        difference |= static_cast<unsigned char>(given[i] ^ token[i]);
    }
    return difference == 0;
}

bool splitWords(const std::string &line, std::vector<std::string> &words, std::string &error) {
    words.clear();
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote == '\'') {
            if (c == '\'')
                quote = 0;
            else
                word += c;
        } else if (quote == '"') {
            if (c == '"') {
                quote = 0;
            } else if (c == '\\' && i + 1 < line.size() &&
                       (line[i + 1] == '"' || line[i + 1] == '\\')) {
                word += line[++i];
            } else {
                word += c;
            }
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            if (inWord) words.push_back(word);
            word.clear();
            inWord = false;
        } else if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == '\\') {
            if (i + 1 == line.size()) {
                error = "a backslash ends the command";
                return false;
            }
            word += line[++i];
            inWord = true;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quote != 0) {
        error = std::string("unclosed ") + (quote == '\'' ? "single" : "double") + " quote";
        return false;
    }
    if (inWord) words.push_back(word);
    return true;
}

std::string confinedFile(const std::string &root, const std::string &relative) {
    namespace fs = std::filesystem;
    fs::path asked(relative);
    if (relative.empty() || asked.is_absolute() || relative.find('\0') != std::string::npos) {
        return "";
    }
    for (const fs::path &part : asked) {
        if (part == "..") return "";
    }
    std::error_code error;
    fs::path base = fs::canonical(root, error);
    if (error) return "";
    fs::path real = fs::canonical(base / asked, error);
    if (error) return "";
    // A link inside may lead anywhere: what counts is where the file really is.
    std::string prefix = base.string() + "/";
    if (real.string().compare(0, prefix.size(), prefix) != 0) return "";
    struct stat st;
    if (stat(real.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return "";
    return real.string();
}

}  // namespace web
}  // namespace possim
