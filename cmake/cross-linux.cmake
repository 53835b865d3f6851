# Shared part of the cross toolchains (toolchain-armhf.cmake, toolchain-arm64.cmake): Debian's
# cross compiler for POS_CROSS_TRIPLET, the target's libraries and headers from a target root,
# and qemu user-mode emulation to run what is built.
#
# POS_TARGET_ROOT is a directory laid out like the target's file system (usr/include,
# usr/lib/<triplet>, lib/<triplet>): the libraries the build links (SQLite, OpenSSL, GoogleTest,
# Google Benchmark, libpng, nlohmann-json) and the C and C++ runtime the programs load.
# `./run.sh cross` fills one from Debian's packages; an integrator may point it at an image
# of the terminal's own root file system.
set(CMAKE_SYSTEM_NAME Linux)

set(POS_TARGET_ROOT "$ENV{POS_TARGET_ROOT}" CACHE PATH "the target's root file system (libraries)")
if(NOT POS_TARGET_ROOT)
  message(FATAL_ERROR "set POS_TARGET_ROOT to the target's root (./run.sh cross makes one)")
endif()
# try_compile projects read this file again: hand the root on to them.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES POS_TARGET_ROOT)

set(CMAKE_C_COMPILER ${POS_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${POS_CROSS_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${POS_CROSS_TRIPLET})

# Libraries, headers and CMake packages come from the target root (and the compiler's own C
# library); programs run during the build are the host's.
set(CMAKE_FIND_ROOT_PATH ${POS_TARGET_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config reads the target root's package files, and its paths are given inside the root.
set(ENV{PKG_CONFIG_LIBDIR}
    "${POS_TARGET_ROOT}/usr/lib/${POS_CROSS_TRIPLET}/pkgconfig:${POS_TARGET_ROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${POS_TARGET_ROOT})

# The compiler knows its own C library only: the target root's headers (the architecture's
# own directory first, as on the target) and its libraries, with their dependencies resolved
# there too.
set(_pos_inc "-isystem ${POS_TARGET_ROOT}/usr/include/${POS_CROSS_TRIPLET} -isystem ${POS_TARGET_ROOT}/usr/include")
set(CMAKE_C_FLAGS_INIT "${_pos_inc}")
set(CMAKE_CXX_FLAGS_INIT "${_pos_inc}")
# Some libraries find theirs by a run path of their own, in a directory below the
# architecture's (PulseAudio's common library, which espeak-ng's audio output loads): the
# linker looks in those too.
set(_pos_libdirs ${POS_TARGET_ROOT}/usr/lib/${POS_CROSS_TRIPLET} ${POS_TARGET_ROOT}/lib/${POS_CROSS_TRIPLET})
file(GLOB _pos_sublibs ${POS_TARGET_ROOT}/usr/lib/${POS_CROSS_TRIPLET}/*/lib*.so*)
foreach(_pos_lib ${_pos_sublibs})
  get_filename_component(_pos_dir ${_pos_lib} DIRECTORY)
  list(APPEND _pos_libdirs ${_pos_dir})
endforeach()
list(REMOVE_DUPLICATES _pos_libdirs)
set(_pos_link "-L${POS_TARGET_ROOT}/usr/lib/${POS_CROSS_TRIPLET}")
foreach(_pos_dir ${_pos_libdirs})
  string(APPEND _pos_link " -Wl,-rpath-link,${_pos_dir}")
endforeach()
foreach(_pos_kind EXE SHARED MODULE)
  set(CMAKE_${_pos_kind}_LINKER_FLAGS_INIT "${_pos_link}")
endforeach()

# Target programs run under qemu, which loads the dynamic linker and every library from the
# target root. The prefix travels in the environment, so a target program that starts another
# (pos-sim starting a test, a service) finds it too when the kernel hands that one to qemu.
find_program(POS_QEMU NAMES ${POS_QEMU_NAME} REQUIRED)
set(POS_TARGET_ENV QEMU_LD_PREFIX=${POS_TARGET_ROOT})
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/env ${POS_TARGET_ENV} ${POS_QEMU})
