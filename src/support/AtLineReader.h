// Reads a modem's response lines from a descriptor into a fixed buffer: lines end at CR or LF
// (blank ones are skipped), the data prompt "> " is a line of its own, and text after a line
// stays for the next call, so an unsolicited line that arrives after a final result is read
// first by the next command.
#ifndef POS_SUPPORT_AT_LINE_READER_H
#define POS_SUPPORT_AT_LINE_READER_H

#include <cstddef>

namespace pos {

class AtLineReader {
  public:
    static constexpr size_t kBufferSize = 8192;

    AtLineReader() { reset(); }

    // The next line from FD, terminated, valid until the next call; null at end of file or on
    // a read error. A line longer than the buffer is dropped (with a log line) and reading
    // goes on. Blocks until a line is complete.
    char *readLine(int fd);

    // Total bytes read (kept for diagnostics).
    size_t bytesRead() const { return mBytesRead; }

  private:
    void reset();
    void skipLineEnds();
    char *findLineEnd(char *from) const;

    char mBuffer[kBufferSize + 1];  // the text read, plus its terminator
    char *mCursor;                  // where the next unread line begins
    char *mEnd;                     // where the text read ends
    size_t mBytesRead = 0;
};

}  // namespace pos

#endif
