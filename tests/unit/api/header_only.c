/* Compiled as C99 with only the public include path; links against the library. */
#include <pos_sdk/pos_sdk.h>

int main(void) {
    OsLogSetTag("HDRTEST");
    return OsLog(0, "header check\n");
}
