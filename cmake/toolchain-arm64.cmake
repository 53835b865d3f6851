# 64-bit ARM (AArch64, LP64 with unsigned char) with Debian's aarch64-linux-gnu cross compiler.
# See cross-linux.cmake for POS_TARGET_ROOT.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(POS_CROSS_TRIPLET aarch64-linux-gnu)
set(POS_QEMU_NAME qemu-aarch64-static qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross-linux.cmake)
