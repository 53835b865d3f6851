/* Umbrella header of the SDK: includes every public C header. */
#ifndef POS_SDK_POS_SDK_H
#define POS_SDK_POS_SDK_H

#include "os_status.h"
#include "log.h"
#include "sql.h"
#include "db.h"
#include "smartlist.h"
#include "util.h"
#include "crypto.h"
#include "pkg.h"
#include "app.h"
#include "power.h"
#include "tts.h"
#include "os_time.h"
#include "network.h"
#include "at.h"
#include "sysinfo.h"
#include "upgrade.h"
#include "usb_serial.h"
#include "disp.h"
#include "font.h"

#endif
