/* Status codes of the Os* device functions. 0 is success; a function that forwards a service
 * call unchanged returns the service's own status instead. */
#ifndef POS_SDK_OS_STATUS_H
#define POS_SDK_OS_STATUS_H

#define OS_ERR_STAGING (-1001)            /* a staging copy or a device wait failed */
#define OS_ERR_PKG_SERVER (-1002)         /* the package server failed */
#define OS_ERR_BAD_ARGUMENT (-1003)       /* bad argument (in a few functions: request refused) */
#define OS_ERR_MODULE_NOT_CLAIMED (-1006) /* the cellular module is not claimed */
#define OS_ERR_SERVICE_FAILED (-1007)     /* a service or privileged command failed */
#define OS_ERR_NO_USB_POWER (-1011)       /* no USB host power */
#define OS_ERR_WIFI_NOT_CONNECTED (-1012) /* Wi-Fi is not connected */
#define OS_ERR_VERSION_UNREADABLE (-1014) /* a version property could not be read */
#define OS_ERR_NOT_SUPPORTED (-1015)      /* not supported, or a setting was refused */
#define OS_ERR_ICCID_LENGTH (-1016)       /* the ICCID has the wrong length */
#define OS_ERR_RSA_KEYGEN (-2402)         /* RSA key generation failed */
#define OS_ERR_NOT_REGISTERED (-3307)     /* the cellular link is not registered */
#define OS_ERR_SIGNAL_UNREADABLE (-3505)  /* signal or radio quality cannot be read */
#define OS_ERR_SIM_UNREADABLE (-3506)     /* the SIM state cannot be read */
#define OS_ERR_SIM_NOT_READY (-3509)      /* the SIM is not ready */
#define OS_ERR_LOGIN_FAILED (-3510)       /* cellular login failed or timed out */

#endif
