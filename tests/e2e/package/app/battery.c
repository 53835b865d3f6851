/* A C application of the installed SDK, as the README shows one: logging and a database. */
#include <pos_sdk/pos_sdk.h>
#include <stdio.h>

int main(void) {
    OsLogSetTag("PKGTEST");
    if (DB_bInitBySysService("/tmp", "com.acme.pkgtest") != 0) return 1;
    if (OsLog(1, "installed SDK\n") != 0) return 1;
    puts("log ok");
    return 0;
}
