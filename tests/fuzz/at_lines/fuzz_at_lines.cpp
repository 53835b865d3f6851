// What a modem sends, read by the AT line reader from a pipe and then taken apart by the
// tokenizer. Every line comes out terminated, inside the buffer, without a line end; the
// tokenizer only ever moves forward within its line; reading ends at the end of the input.
#include <pos_sdk/at.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "FuzzCheck.h"
#include "support/AtLineReader.h"

namespace {

// Walks LINE with every tokenizer call, chosen by the line's own bytes.
void tokenize(const std::string &line) {
    std::string copy = line;
    char *start = &copy[0];
    char *end = start + copy.size();
    char *cursor = start;
    at_tok_start(&cursor);
    for (size_t step = 0; at_tok_hasmore(&cursor) && step < copy.size() + 1; ++step) {
        char *before = cursor;
        int value = 0;
        char flag = 0;
        char *text = nullptr;
        switch ((line.size() + step) % 4) {
            case 0:
                at_tok_nextint(&cursor, &value);
                break;
            case 1:
                at_tok_nexthexint(&cursor, &value);
                break;
            case 2:
                at_tok_nextbool(&cursor, &flag);
                FUZZ_CHECK(flag == 0 || flag == 1);
                break;
            default:
                FUZZ_CHECK(at_tok_nextstr(&cursor, &text) == 0);
                if (text != nullptr) FUZZ_CHECK(text >= start && text <= end);
                break;
        }
        FUZZ_CHECK(cursor == nullptr || (cursor > before && cursor <= end));
    }
    strStartsWith(line.c_str(), "+CME ERROR:");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    int fds[2];
    if (pipe(fds) != 0) return 0;
    // A pipe holds 64 KiB: more than any input, so it is written whole before reading.
    FUZZ_CHECK(write(fds[1], data, size) == ssize_t(size) || size == 0);
    close(fds[1]);
    pos::AtLineReader reader;
    size_t lines = 0;
    while (const char *line = reader.readLine(fds[0])) {
        size_t length = strnlen(line, pos::AtLineReader::kBufferSize + 1);
        FUZZ_CHECK(length <= pos::AtLineReader::kBufferSize);
        FUZZ_CHECK(strpbrk(line, "\r\n") == nullptr);
        tokenize(std::string(line, length));
        FUZZ_CHECK(++lines <= size);  // each line takes at least one byte of the input
    }
    FUZZ_CHECK(reader.bytesRead() == size);
    close(fds[0]);
    return 0;
}
