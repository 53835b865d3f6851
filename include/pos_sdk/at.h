/* The modem's AT command channel ("/dev/chn/4") and a tokenizer for its response lines. The
 * channel is one descriptor of the process, kept open once opened; callers serialise their
 * commands. */
#ifndef POS_SDK_AT_H
#define POS_SDK_AT_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Opens the channel (waiting up to 4 s for the device node): 0 when open, -17 when the node
 * does not appear, 2 when it cannot be opened. */
POS_API int x_at_open(void);
/* Sends COMMAND and a CR, waits up to TIMEOUTSECONDS for the reply to start, then collects its
 * lines up to a final result. 0 on a success final (OK, CONNECT), -1 on an error final, a
 * write or read failure, a time-out or a closed channel, -2 if the wait ends without data.
 * On a final result RESPONSE receives every line, each followed by "\n" (at most 1023
 * characters in all); otherwise it is left untouched. */
POS_API int x_at_send_command(const char *command, char *response, int timeoutSeconds);
/* Always 0: the channel deliberately stays open and in use. */
POS_API int x_at_close(void);

POS_API int OsCustATCmdOpen(void);
/* x_at_send_command with a 3-second time-out, or -1003 for a null argument. */
POS_API int OsSendCustATCmd(const char *command, char *response);
POS_API int OsCustATCmdClose(void);
/* Sends the three default LTE power back-off commands on the open channel: 0, or the first
 * failing command's result. */
POS_API int SetDefaultLETPower(void);

/* 1 if LINE begins with PREFIX (an empty prefix always matches), else 0. */
POS_API int strStartsWith(const char *line, const char *prefix);

/* Tokenizer over a response line that it cuts in place: the cursor moves token by token and
 * becomes null at the end of the line. Each returns 0, or -1 when nothing could be read. */
POS_API int at_tok_start(char **cursor);                /* past the first ':' */
POS_API int at_tok_nextint(char **cursor, int *out);    /* decimal, signed */
POS_API int at_tok_nexthexint(char **cursor, int *out); /* hexadecimal */
POS_API int at_tok_nextbool(char **cursor, char *out);  /* 0 or 1; OUT may be null */
POS_API int at_tok_nextstr(char **cursor, char **out);  /* OUT points into the line */
POS_API int at_tok_hasmore(char **cursor);

POS_END_DECLS

#endif
