// A child application: hands CODE back to its parent under NAME and exits with it.
#include <stdlib.h>

#include "pos_sdk/pkg.h"

int main(int argc, char **argv) {
    if (argc < 3) return 2;
    PkgGetExitCode(atoi(argv[1]), argv[2]);
    return 1;  // only when the block is missing
}
