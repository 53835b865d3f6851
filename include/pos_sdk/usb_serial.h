/* USB serial: the terminal's USB device port as a serial line to a host ("/dev/ttyGS0"),
 * or routed to the communication module. */
#ifndef POS_SDK_USB_SERIAL_H
#define POS_SDK_USB_SERIAL_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Room for the serial device name with its terminator. */
#define OS_SERIAL_NAME_SIZE 12

/* Start and stop the USB serial function. 0; -1007 refused. */
POS_API int OsStartUsbSerial(void);
POS_API int OsStopUsbSerial(void);
/* Starts USB serial while the port keeps charging the battery. 0; -1007. */
POS_API int OsStartUsbSerialWithUsbcharge(void);
/* Routes the USB port to the communication module, and back. 0; -1007. */
POS_API int OsStartCommModuleUsbSerial(void);
POS_API int OsStopCommModuleUsbSerial(void);

/* Writes the serial device name into NAME (OS_SERIAL_NAME_SIZE bytes) after granting access
 * to it; whether it exists is not checked. 0; -1003 null NAME. */
POS_API int OsQuerySerialPort(char *name);

/* Waits up to TIMEOUT_MS (1000 when below 1) for the serial device, makes it accessible
 * and writes its name into NAME. 0; -1003 null NAME; -1011 no USB host power; -1001 the
 * device did not appear; -1007 it cannot be opened for reading and writing. */
POS_API int OsCheckSerialPortExist(char *name, int timeout_ms);

POS_END_DECLS

#endif
