# POS_PLATFORM=device: the terminal's own platform libraries stand where platform/ would be
# built. The library includes them by the platform's header names (<binder/Parcel.h>,
# <utils/String16.h>, <android/log.h>, <sysglue/sysglue.h>, <panelui/panelui.h>), so only
# these paths change:
#   POS_DEVICE_INCLUDE_DIRS  directories holding those headers
#   POS_DEVICE_LIBRARY_DIRS  directories holding the libraries
#   POS_DEVICE_BINDER_LIBS   the libraries that make up the binder interface ("binder" by
#                            default; a terminal that keeps String16 and RefBase apart names
#                            "binder;utils")
# Paths are taken as given, outside any cross build's target root.
set(POS_DEVICE_INCLUDE_DIRS "" CACHE STRING "the terminal's platform headers (a list)")
set(POS_DEVICE_LIBRARY_DIRS "" CACHE STRING "the terminal's platform libraries (a list)")
set(POS_DEVICE_BINDER_LIBS "binder" CACHE STRING "libraries of the binder interface")
if(NOT POS_DEVICE_INCLUDE_DIRS OR NOT POS_DEVICE_LIBRARY_DIRS)
  message(FATAL_ERROR "POS_PLATFORM=device needs POS_DEVICE_INCLUDE_DIRS and POS_DEVICE_LIBRARY_DIRS")
endif()

# TARGET: an imported library of the device's NAMES, the first of them its main file.
function(pos_device_library target)
  set(files)
  foreach(name ${ARGN})
    find_library(POS_DEVICE_LIB_${name} NAMES ${name} PATHS ${POS_DEVICE_LIBRARY_DIRS}
                 NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT POS_DEVICE_LIB_${name})
      message(FATAL_ERROR "lib${name} not found in POS_DEVICE_LIBRARY_DIRS (${POS_DEVICE_LIBRARY_DIRS})")
    endif()
    list(APPEND files ${POS_DEVICE_LIB_${name}})
  endforeach()
  list(POP_FRONT files main)
  add_library(${target} SHARED IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES
    IMPORTED_LOCATION ${main}
    INTERFACE_INCLUDE_DIRECTORIES "${POS_DEVICE_INCLUDE_DIRS}"
    INTERFACE_LINK_LIBRARIES "${files};Threads::Threads")
endfunction()

pos_device_library(pos_platform_log log)
pos_device_library(pos_platform_binder ${POS_DEVICE_BINDER_LIBS})
pos_device_library(pos_platform_sysglue sysglue)
pos_device_library(pos_platform_panelui panelui)
# The display family compiles against the UI library's header alone.
add_library(pos_panelui_headers INTERFACE)
target_include_directories(pos_panelui_headers INTERFACE ${POS_DEVICE_INCLUDE_DIRS})
