# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (posix threads) and runs programs under Wine. The
# environment variable VXCOMMON_WINDOWS_SDK names a directory with qt6/ (Qt for mingw-w64, of the same version as this
# machine's Qt, whose tools are used), openssl/ and, if available, log4cpp/. A VXCOMMON_WITH_ option is ON if that
# directory contains the required library.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# Cache the path, because later runs of CMake may not have the environment variable.
if(NOT "$ENV{VXCOMMON_WINDOWS_SDK}" STREQUAL "")
    set(VXCOMMON_WINDOWS_SDK "$ENV{VXCOMMON_WINDOWS_SDK}" CACHE PATH "Directory with qt6/ and openssl/ for mingw-w64" FORCE)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VXCOMMON_WINDOWS_SDK)

set(CMAKE_FIND_ROOT_PATH /usr/${triplet} "${VXCOMMON_WINDOWS_SDK}/qt6" "${VXCOMMON_WINDOWS_SDK}/openssl"
    "${VXCOMMON_WINDOWS_SDK}/log4cpp")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_PREFIX_PATH "${VXCOMMON_WINDOWS_SDK}/qt6")
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake)

# Override cached options, because a library may be added to the SDK after the first run of CMake.
function(switch_feature feature path)
    set(has_feature OFF)
    if(EXISTS "${VXCOMMON_WINDOWS_SDK}/${path}")
        set(has_feature ON)
    endif()
    set(VXCOMMON_WITH_${feature} ${has_feature} CACHE BOOL "ON if the Windows SDK has ${path}" FORCE)
endfunction()
switch_feature(LOG4CPP log4cpp/include/log4cpp)
switch_feature(QREGEXP qt6/lib/cmake/Qt6Core5Compat)
switch_feature(SVG qt6/lib/cmake/Qt6Svg)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/run-wine.sh;${VXCOMMON_WINDOWS_SDK}")
