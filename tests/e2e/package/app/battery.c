/* A C application of the installed SDK: the logger returns 0 for every call. */
#include <pos_sdk/pos_sdk.h>
#include <stdio.h>

int main(void) {
    OsLogSetTag("PKGTEST");
    if (OsLog(1, "installed SDK\n") != 0) return 1;
    puts("log ok");
    return 0;
}
