/* System information and parameters: software, firmware and hardware versions, boot mode,
 * the terminal serial number, named system parameters and the factory-test step. */
#ifndef POS_SDK_SYSINFO_H
#define POS_SDK_SYSINFO_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Version kinds of OsGetSysVer and OsGetSysVersion. */
enum {
    OS_VER_SYSTEM = 1,       /* operating system */
    OS_VER_MIDDLEWARE = 2,   /* middleware */
    OS_VER_MCU_SOFTWARE = 3, /* secure microcontroller software */
    OS_VER_MCU_FIRMWARE = 4, /* secure microcontroller firmware information */
};

/* Longest version text with its terminator: OUT of the version readers needs this room. */
#define OS_VERSION_MAX 92

/* Copies version TYPE (1-4) into OUT. Nothing is returned: a failure is logged and leaves
 * OUT as it was. */
POS_API void OsGetSysVer(int type, char *out);

/* As OsGetSysVer, but types 1-3 are cut before their first "-" ("V1.2.3-20240101" reads
 * "V1.2.3"); type 4 is copied whole. */
POS_API void OsGetSysVersion(int type, char *out);

/* Firmware information into OUT of SIZE bytes (at least 32). 0; -1003 null OUT or SIZE
 * below 32; -1014 the version cannot be read. At most SIZE bytes are written. */
POS_API int OsFirmwareGetVersion(char *out, int size);

/* The hardware version (two characters and a terminator; "0" when the board does not say).
 * OUT needs 3 bytes. */
POS_API void OsGetHwVersion(char *out);

/* The boot mode. *MODE is 0 until it has been read. 0; -1 null MODE; otherwise the
 * property reader's error. */
POS_API int OsGetSysBootMode(int *mode);

/* The wireless module's version (a custom setting, at most 33 bytes with the terminator).
 * 0; -1003 null OUT; otherwise kivogetcustom's result. */
POS_API int OsGetWirelessModuleVer(char *out);

/* Reads or writes the custom setting KEY (texts of at most 32 characters; VALUE of
 * OsGetSysParam needs 33 bytes). kivogetcustom's or kivosetcustom's result; -1 for a null
 * or empty KEY or a null VALUE. */
POS_API int OsGetSysParam(const char *key, char *value);
POS_API int OsSetSysParam(const char *key, const char *value);

/* Copies the terminal serial number into OUT: as many bytes as the terminal stores (at most
 * 57), without a terminator, so pass a zeroed buffer of 64 bytes. 0; -1003 null OUT; -1007
 * the number cannot be had or its record is malformed. */
POS_API int OsGetTermSn(unsigned char *out);

/* Stores TEXT as the terminal serial number. 0; -1003 null TEXT; -1007 refused. */
POS_API int OsSetTermSn(const char *text);

/* The factory-test step as the init command server keeps it (or its error code). */
POS_API int OsGetFactoryTestStep(void);
/* Records STEP; the init command server's answer (0 stored). */
POS_API int OsSetFactoryTestStep(int step);

/* Copies into DESTINATION the part of SOURCE before the first NEEDLE (all of SOURCE when it
 * holds none) with its terminator, and returns DESTINATION. */
POS_API char *substring_before_first_occurrence(const char *source, const char *needle,
                                                char *destination);

POS_END_DECLS

#endif
