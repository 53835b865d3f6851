/* Text-to-speech: text spoken by the terminal's speech service, or rendered to a WAV or raw
 * PCM file whose path comes back. Each call returns once the service has answered; speech goes
 * on after OsTtsTextToSpeech returns, and OsTtsIsBusy tells whether it still does. */
#ifndef POS_SDK_TTS_H
#define POS_SDK_TTS_H

#include "os_status.h"
#include "pos_export.h"

POS_BEGIN_DECLS

/* The encoding of the text bytes; the speech service fixes the character sets (those of the
 * simulated terminal are named here). */
typedef enum TTS_ENCODING {
    TTS_ENCODING_UTF8 = 0,
    TTS_ENCODING_GBK = 1,
    TTS_ENCODING_UTF16LE = 2,
} TTS_ENCODING;

/* Room the result of the WAV and PCM forms needs, terminator included. */
#define TTS_RESULT_SIZE 260

/* Speaks LENGTH bytes of TEXT (no terminator needed). SPEED and PITCH go to the service as
 * they are (percent of normal on the simulated terminal; 105 and 100 are the usual ones),
 * VOLUME is 0 to 100, FLAG is the service's. The service's result; -1003 for a null text,
 * LENGTH below 1, an unknown encoding or VOLUME outside 0..100. */
POS_API int OsTtsTextToSpeech(const char *text, int length, TTS_ENCODING encoding, int speed,
                              int pitch, int volume, int flag);

/* Renders TEXT to a WAV (or raw PCM) file and copies its path into RESULT, which must hold at
 * least TTS_RESULT_SIZE bytes (RESULTSIZE says how many it does). VOLUME goes to the service
 * unchanged: 32768 is full. The service's result; -1003 for a null text or result, LENGTH
 * below 1, an unknown encoding or RESULTSIZE below 260. */
POS_API int OsTtsTextToWavFull(const char *text, int length, TTS_ENCODING encoding, int speed,
                               int pitch, int volume, char *result, int resultSize);
POS_API int OsTtsTextToPcmFull(const char *text, int length, TTS_ENCODING encoding, int speed,
                               int pitch, int volume, char *result, int resultSize);
/* The same with speed 105, pitch 100 and full volume. */
POS_API int OsTtsTextToWav(const char *text, int length, TTS_ENCODING encoding, char *result,
                           int resultSize);
POS_API int OsTtsTextToPcm(const char *text, int length, TTS_ENCODING encoding, char *result,
                           int resultSize);

/* Stops the speech in progress: the service's result; -1003 for a negative WHICH. */
POS_API int OsTtsStopSpeech(int which);
/* 1 while speaking, 0 when idle (or a binding code). */
POS_API int OsTtsIsBusy(void);

POS_END_DECLS

#endif
