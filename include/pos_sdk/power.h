/* Power, sleep, LEDs, screen and the small devices: the charging state, the sleep,
 * deep-sleep and shut-down-after-sleep times, reboot and power-off, the screen backlight and
 * size, the status LEDs, the touch panel, device node modes, the board's MIS flag, the model's
 * companion controller (date and time, secure element, USB switch, its LEDs) and the segment
 * LCD.
 *
 * Status codes are those of os_status.h: 0 success, OS_ERR_BAD_ARGUMENT (-1003) for a null
 * pointer, a value out of range or a text of the wrong length, OS_ERR_NOT_SUPPORTED (-1015)
 * when the power service refuses a setting or a query, OS_ERR_SERVICE_FAILED (-1007) when a
 * command or the companion controller fails. Functions described as "the service's result"
 * hand on the service's own status, which may also be one of the hub's binding codes
 * (0x10000001 no service manager, 0x10000002 service not found). */
#ifndef POS_SDK_POWER_H
#define POS_SDK_POWER_H

#include "os_status.h"
#include "pos_export.h"

POS_BEGIN_DECLS

/* The charging state as the power service reports it (0 not charging, 1 charging, 2 full on
 * the simulated terminal), -1 when it refuses, or a binding code. */
POS_API int OsGetBatChgState(void);

/* Sleep after SECONDS without use: 10 to 3600. 0; -1003 out of range; -1015 refused. */
POS_API int OsSysSleepTime(int seconds);
POS_API int OsGetSysSleepTime(int *seconds);
/* Shut down after sleeping this long: 1 to 48, in the power service's unit (hours). */
POS_API int OsSetSleepShutdownTime(int value);
POS_API int OsGetSleepShutdownTime(int *value);
/* Deep sleep after SECONDS of sleep: 10 to 300. */
POS_API int OsSetSysDeepSleepTime(int seconds);
POS_API int OsGetSysDeepSleepTime(int *seconds);
/* Allows (non-zero) or forbids (0) sleep; the value goes to the service unchecked. */
POS_API int OsSetSysSleepStatus(int allow);
POS_API int OsGetSysSleepStatus(int *allow);

/* Ask the system to reboot or power off; both return 0 once asked (the terminal is going down,
 * nothing would read a failure). */
POS_API int OsReboot(void);
POS_API int OsPowerOff(void);

/* The camera needs no service on this terminal: both return 0 and ignore their arguments. */
POS_API int OsOpenCameraService(int camera, void *reserved);
POS_API int OsCloseCameraService(void);

/* Screen backlight LEVEL 0 to 10 (the service gets LEVEL x 10): the service's result. A LEVEL
 * outside 0..10 is not sent and is returned as it is, so any result but 0 means not done. */
POS_API int OsScrBrightness(int level);
/* The screen's size in pixels, portrait: 800 x 1280. Nothing is written unless both pointers
 * are given. */
POS_API void OsScrGetSize(int *width, int *height);

/* The companion controller's LEDs: the service's result. OsLedCtrl(MASK, STATE) sets every LED
 * of MASK (bit 0 red, bit 1 green, bit 2 blue) to STATE; each single LED takes 0 off, 1 on,
 * 2 blinking on the simulated terminal. */
POS_API int OsLedCtrl(int mask, int state);
POS_API int OsLedRed(int state);
POS_API int OsLedGreen(int state);
POS_API int OsLedBlue(int state);
/* The four status LEDs at once, each argument on (non-zero) or off: the service's result. */
POS_API int OsLed(unsigned int first, unsigned int second, unsigned int third, unsigned int fourth);

/* Resets the touch panel. 0; -1007 when the command fails. */
POS_API int OsResetTP(void);
/* Changes the mode of the device node PATH. MODE is printed in decimal into the command, so
 * octal 0666 is passed as 666. 0; -1003 null or over-long path; -1007 command failed. */
POS_API int OsDevNodeChmod(const char *path, int mode);
/* The board's MIS flag (one digit). 0; -1 unreadable; -1003 null pointer. */
POS_API int OsGetMisFlag(int *flag);

/* Sets the companion controller's clock from 14 characters YYYYMMDDhhmmss.
 * 0; -1003 null or not 14 characters; -1007 refused. */
POS_API int OsQd36nSetDateTime(const char *datetime);
/* Resets the secure element: the service's result. */
POS_API int OsQd36nResetSE(void);
/* The USB switch (0 or 1): the service's result; -1003 for a null pointer. */
POS_API int OsQd36nSetUsbSw(int position);
POS_API int OsQd36nGetUsbSw(int *position);

/* The segment LCD, two lines of 16 characters on the simulated terminal: the service's
 * results. Backlight MODE 0 off, 1 on, 2 automatic, LEVEL 0 to 100. */
POS_API int OsSegLcdSetBacklight(int mode, int level);
POS_API int OsSegLcdCloseLcd(void);
POS_API int OsSegLcdPing(void);
POS_API int OsSegLcdReconnect(void);
POS_API int OsSegLcdReset(void);
/* The display's version text into VERSION (room for 64 bytes); -1003 for a null pointer. */
POS_API int OsSegLcdGetVersion(char *version);
/* TEXT on LINE from COLUMN on, in FONT, with display FLAGS; STD without a font choice. */
POS_API int OsSegLcdShow(int line, int column, int font, const char *text, int flags);
POS_API int OsSegLcdShowSTD(int line, int column, const char *text, int flags);

POS_END_DECLS

#endif
