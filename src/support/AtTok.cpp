// Tokenizer of modem response lines such as "+CSQ: 20,99" or "+COPS: 0,0,\"NAME\",7": the
// cursor moves from token to token, cutting the line with terminators, and becomes null at
// its end.
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "pos_sdk/at.h"

namespace {

void skipWhiteSpace(char **cursor) {
    if (*cursor == nullptr) return;
    while (**cursor != '\0' && isspace(static_cast<unsigned char>(**cursor))) ++*cursor;
}

void skipNextComma(char **cursor) {
    if (*cursor == nullptr) return;
    while (**cursor != '\0' && **cursor != ',') ++*cursor;
    if (**cursor == ',') ++*cursor;
}

// The next token: a quoted string without its quotes (the cursor then moves past the comma
// after it), or the text up to the next comma. Null at the end of the line.
char *nextToken(char **cursor) {
    skipWhiteSpace(cursor);
    if (*cursor == nullptr) return nullptr;
    if (**cursor == '"') {
        ++*cursor;
        char *token = strsep(cursor, "\"");
        skipNextComma(cursor);
        return token;
    }
    return strsep(cursor, ",");
}

int nextInteger(char **cursor, int *out, int base, bool isUnsigned) {
    if (cursor == nullptr || *cursor == nullptr) return -1;
    char *token = nextToken(cursor);
    if (token == nullptr) return -1;
    char *end = nullptr;
    long value =
        isUnsigned ? static_cast<long>(strtoul(token, &end, base)) : strtol(token, &end, base);
    if (out != nullptr) *out = static_cast<int>(value);  // stored even when no digit was read
    return end == token ? -1 : 0;
}

}  // namespace

extern "C" {

POS_API int strStartsWith(const char *line, const char *prefix) {
    if (line == nullptr || prefix == nullptr) return 0;
    for (; *line != '\0' && *prefix != '\0'; ++line, ++prefix) {
        if (*line != *prefix) return 0;
    }
    return *prefix == '\0' ? 1 : 0;
}

POS_API int at_tok_start(char **cursor) {
    if (cursor == nullptr || *cursor == nullptr) return -1;
    char *colon = strchr(*cursor, ':');
    if (colon == nullptr) return -1;
    *cursor = colon + 1;
    return 0;
}

POS_API int at_tok_nextint(char **cursor, int *out) {
    return nextInteger(cursor, out, 10, false);
}

POS_API int at_tok_nexthexint(char **cursor, int *out) {
    return nextInteger(cursor, out, 16, true);
}

POS_API int at_tok_nextbool(char **cursor, char *out) {
    int value = 0;
    if (nextInteger(cursor, &value, 10, false) != 0) return -1;
    if (value != 0 && value != 1) return -1;
    if (out != nullptr) *out = static_cast<char>(value);
    return 0;
}

POS_API int at_tok_nextstr(char **cursor, char **out) {
    if (cursor == nullptr || *cursor == nullptr) return -1;
    char *token = nextToken(cursor);
    if (out != nullptr) *out = token;
    return 0;
}

POS_API int at_tok_hasmore(char **cursor) {
    return cursor != nullptr && *cursor != nullptr && **cursor != '\0';
}

}  // extern "C"
