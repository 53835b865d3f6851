#include "AtLineReader.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "pos_sdk/log.h"

namespace pos {

void AtLineReader::reset() {
    mBuffer[0] = '\0';
    mCursor = mBuffer;
    mEnd = mBuffer;
}

void AtLineReader::skipLineEnds() {
    while (*mCursor == '\r' || *mCursor == '\n') ++mCursor;
}

// The first CR or LF from FROM; the prompt "> " with nothing after it ends at its terminator.
char *AtLineReader::findLineEnd(char *from) const {
    char *end = from;
    while (*end != '\0' && *end != '\r' && *end != '\n') ++end;
    if (*end != '\0') return end;
    if (end - from == 2 && from[0] == '>' && from[1] == ' ') return end;
    return nullptr;
}

char *AtLineReader::readLine(int fd) {
    char *lineEnd = nullptr;
    if (*mCursor != '\0') {
        skipLineEnds();
        lineEnd = findLineEnd(mCursor);
        if (lineEnd == nullptr) {
            // Keep the partial line at the start and read its rest after it.
            size_t length = strlen(mCursor);
            memmove(mBuffer, mCursor, length + 1);
            mCursor = mBuffer;
            mEnd = mBuffer + length;
        }
    } else {
        reset();
    }

    while (lineEnd == nullptr) {
        if (static_cast<size_t>(mEnd - mBuffer) >= kBufferSize) {
            OsLog(0, "ERROR: Input line exceeded buffer\n");
            reset();
        }
        ssize_t count;
        do {
            count = read(fd, mEnd, kBufferSize - static_cast<size_t>(mEnd - mBuffer));
        } while (count < 0 && errno == EINTR);
        if (count == 0) {
            OsLog(0, "atchannel: EOF reached\n");
            return nullptr;
        }
        if (count < 0) {
            OsLog(0, "atchannel: read error %s\n", strerror(errno));
            return nullptr;
        }
        mBytesRead += static_cast<size_t>(count);
        mEnd += count;
        *mEnd = '\0';
        skipLineEnds();
        lineEnd = findLineEnd(mCursor);
    }

    char *line = mCursor;
    // The prompt ends at the text's terminator: the cursor stays there rather than past it.
    mCursor = lineEnd < mEnd ? lineEnd + 1 : lineEnd;
    *lineEnd = '\0';
    return line;
}

}  // namespace pos
