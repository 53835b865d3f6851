# 32-bit ARM (ARMv7 hard-float, ILP32: 4-byte pointers and long, unsigned char) with Debian's
# arm-linux-gnueabihf cross compiler. See cross-linux.cmake for POS_TARGET_ROOT.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(POS_CROSS_TRIPLET arm-linux-gnueabihf)
set(POS_QEMU_NAME qemu-arm-static qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross-linux.cmake)
# GCC notes on every std::vector<double> that its argument passing changed in GCC 7.1: the
# whole build uses one compiler, so the note concerns nothing here.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-psabi")
