# Finds log4cpp and provides the imported target Log4cpp::Log4cpp. On Windows, sets Log4cpp_DLL if log4cpp has a DLL.

find_path(Log4cpp_INCLUDE_DIR log4cpp/Category.hh)
find_library(Log4cpp_LIBRARY log4cpp)
mark_as_advanced(Log4cpp_INCLUDE_DIR Log4cpp_LIBRARY)
if(WIN32 AND Log4cpp_LIBRARY)
    cmake_path(GET Log4cpp_LIBRARY PARENT_PATH library_dir)
    find_file(Log4cpp_DLL NAMES liblog4cpp.dll log4cpp.dll PATHS "${library_dir}/../bin"
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    mark_as_advanced(Log4cpp_DLL)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Log4cpp
    REQUIRED_VARS Log4cpp_LIBRARY Log4cpp_INCLUDE_DIR
    REASON_FAILURE_MESSAGE
        "install log4cpp (Debian: liblog4cpp5-dev), or build without its backend: -DVXCOMMON_WITH_LOG4CPP=OFF")

if(Log4cpp_FOUND AND NOT TARGET Log4cpp::Log4cpp)
    find_package(Threads REQUIRED)
    add_library(Log4cpp::Log4cpp UNKNOWN IMPORTED)
    set_target_properties(Log4cpp::Log4cpp PROPERTIES
        IMPORTED_LOCATION "${Log4cpp_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Log4cpp_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES Threads::Threads)
endif()
