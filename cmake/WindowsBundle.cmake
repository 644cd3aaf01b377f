# Puts the DLLs, plugins and licences into an installation for Windows that it needs to run on another computer.

set(dll_dirs $<TARGET_FILE_DIR:Qt6::Core> $<TARGET_FILE_DIR:vxcommon>)
if(MINGW)
    foreach(runtime libstdc++-6.dll zlib1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        cmake_path(GET path PARENT_PATH dir)
        list(APPEND dll_dirs "${dir}")
    endforeach()
    list(APPEND dll_dirs "${VXCOMMON_WINDOWS_SDK}/openssl/bin")
endif()
if(VXCOMMON_WITH_LOG4CPP AND Log4cpp_DLL)
    cmake_path(GET Log4cpp_DLL PARENT_PATH dir)
    list(APPEND dll_dirs "${dir}")
endif()
list(REMOVE_DUPLICATES dll_dirs)

set(plugins_dir "$<TARGET_FILE_DIR:Qt6::Core>/../plugins")
set(programs $<TARGET_FILE:vxtool>)
if(TARGET vxphone)
    list(APPEND programs $<TARGET_FILE:vxphone>)
endif()
install(CODE "
    set(CMAKE_GET_RUNTIME_DEPENDENCIES_PLATFORM windows+pe)
    set(CMAKE_GET_RUNTIME_DEPENDENCIES_TOOL objdump)
    set(CMAKE_GET_RUNTIME_DEPENDENCIES_COMMAND \"${CMAKE_OBJDUMP}\")
    file(GLOB plugins \"${plugins_dir}/platforms/qwindows.dll\" \"${plugins_dir}/styles/*.dll\"
        \"${plugins_dir}/tls/*.dll\" \"${plugins_dir}/imageformats/*.dll\" \"${plugins_dir}/iconengines/*.dll\")
    file(GET_RUNTIME_DEPENDENCIES EXECUTABLES ${programs} MODULES \${plugins} DIRECTORIES ${dll_dirs}
        RESOLVED_DEPENDENCIES_VAR dlls UNRESOLVED_DEPENDENCIES_VAR dlls_of_windows
        POST_EXCLUDE_REGEXES [[/[Ss]ystem32/]] [[/vxcommon\\.dll$]])
    file(INSTALL \${dlls} DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\" FOLLOW_SYMLINK_CHAIN)
    foreach(plugin IN LISTS plugins)
        cmake_path(GET plugin PARENT_PATH dir)
        cmake_path(GET dir FILENAME kind)
        file(INSTALL \"\${plugin}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\${kind}\")
    endforeach()
" COMPONENT runtime)

install(FILES "${CMAKE_CURRENT_LIST_DIR}/windows-licences.txt" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
foreach(licence LGPL-3 LGPL-2.1 GPL-3 Apache-2.0)
    install(FILES "/usr/share/common-licenses/${licence}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/licences"
        COMPONENT runtime OPTIONAL)
endforeach()
