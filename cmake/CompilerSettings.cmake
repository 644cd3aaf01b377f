# Language, warnings, sanitizers and compiler cache for all targets of this project. The targets link
# vxcommon_settings, which is never exported.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)

find_program(VXCOMMON_CCACHE ccache)
mark_as_advanced(VXCOMMON_CCACHE)
if(VXCOMMON_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${VXCOMMON_CCACHE}")
endif()

add_library(vxcommon_settings INTERFACE)
target_compile_definitions(vxcommon_settings INTERFACE
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
if(WIN32)
    target_compile_definitions(vxcommon_settings INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()

if(MSVC)
    target_compile_options(vxcommon_settings INTERFACE /W4 /permissive- /utf-8)
else()
    target_compile_options(vxcommon_settings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    # Qt's QSKIP calls a variadic macro without variadic arguments.
    target_compile_options(vxcommon_settings INTERFACE
        $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
endif()

# Hardening of release builds. MinGW's run-time library supports neither _FORTIFY_SOURCE nor the stack
# protector.
if(MSVC)
    add_compile_options("$<$<CONFIG:Release>:/guard:cf>")
    add_link_options("$<$<CONFIG:Release>:/guard:cf>")
elseif(NOT MINGW AND NOT VXCOMMON_SANITIZE)
    add_compile_options("$<$<CONFIG:Release>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        add_compile_options("$<$<CONFIG:Release>:-fcf-protection>")
    endif()
    add_link_options("$<$<CONFIG:Release>:-Wl,-z,relro,-z,now>")
endif()

if(VXCOMMON_SANITIZE)
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_FLAGS "-fsanitize=${VXCOMMON_SANITIZE}")
    check_cxx_source_compiles("int main() { return 0; }" VXCOMMON_SANITIZE_WORKS)
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT VXCOMMON_SANITIZE_WORKS)
        message(FATAL_ERROR "This compiler cannot build with -fsanitize=${VXCOMMON_SANITIZE}")
    endif()
    add_compile_options(-fsanitize=${VXCOMMON_SANITIZE} -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${VXCOMMON_SANITIZE})
    if(VXCOMMON_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()
