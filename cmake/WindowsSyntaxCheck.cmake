# Compiles, without linking, the sources that need a library missing from the Windows SDK. They use this machine's
# headers of log4cpp, Qt Core5Compat and Qt Svg, which do not depend on the platform.

if(VXCOMMON_WITH_LOG4CPP AND VXCOMMON_WITH_QREGEXP AND VXCOMMON_WITH_SVG)
    return()
endif()

set(vxtool_dir "${PROJECT_SOURCE_DIR}/examples/vxtool")
set(host_qt_headers /usr/include/x86_64-linux-gnu/qt6)
set(host_headers "")
# vxphone needs all three.
file(GLOB check_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/examples/vxphone/*.cpp")
if(NOT VXCOMMON_WITH_LOG4CPP)
    list(APPEND host_headers /usr/include/log4cpp)
    list(APPEND check_sources ${log4cpp_sources})
endif()
if(NOT VXCOMMON_WITH_QREGEXP)
    list(APPEND host_headers "${host_qt_headers}/QtCore5Compat")
    list(APPEND check_sources ${qregexp_sources} ${qregexp_headers} "${vxtool_dir}/addresscommands.cpp")
endif()
if(NOT VXCOMMON_WITH_SVG)
    list(APPEND host_headers "${host_qt_headers}/QtSvg")
    list(APPEND check_sources ${svg_sources} ${svg_headers})
endif()

add_library(windows_syntax_check OBJECT ${check_sources})
# Create links to the required directories only: the whole /usr/include would hide the headers of mingw-w64.
set(check_headers "${CMAKE_CURRENT_BINARY_DIR}/host_headers")
file(REMOVE_RECURSE "${check_headers}")
file(MAKE_DIRECTORY "${check_headers}")
foreach(folder IN LISTS host_headers)
    cmake_path(GET folder FILENAME name)
    file(CREATE_LINK "${folder}" "${check_headers}/${name}" SYMBOLIC)
    target_include_directories(windows_syntax_check SYSTEM PRIVATE "${check_headers}/${name}")
endforeach()
target_include_directories(windows_syntax_check SYSTEM PRIVATE "${check_headers}")
target_include_directories(windows_syntax_check PRIVATE "${generated_dir}/private")
target_compile_definitions(windows_syntax_check PRIVATE vxcommon_EXPORTS VXCOMMON_VERSION="${PROJECT_VERSION}")
target_link_libraries(windows_syntax_check PRIVATE vxcommon vxcommon_settings)
