// What the display units share: the text conversion, the assertion that ends the process on a
// missing output pointer, and the style word.
#pragma once

#include <stddef.h>

// Converts the zero-terminated UTF-8 text IN to GBK into OUT (OUTSIZE bytes, zero-filled
// first). Errors are logged; what was converted before one stays in OUT.
void ConvertUtf8ToGbk(const char *in, char *out, size_t outSize);

// The display family's assertions end the process in every build, with the condition's text,
// the unit's name and the function, as the terminal's library does.
[[noreturn]] void dispAssertFailed(const char *text, int line, const char *function);
#define DISP_ASSERT(condition, text) \
    ((condition) ? (void)0 : dispAssertFailed(text, __LINE__, __PRETTY_FUNCTION__))

// The buffers of the line-oriented calls.
constexpr size_t kLineBufferBytes = 64;
