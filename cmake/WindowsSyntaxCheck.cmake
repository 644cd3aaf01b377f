# Compiles, without linking, the sources that the Windows SDK lacks libraries for, so that they stay correct for
# Windows: against the headers of this machine's log4cpp, Qt Core5Compat and Qt Svg, which are the same everywhere.

set(check_headers "${CMAKE_CURRENT_BINARY_DIR}/host_headers")
set(host_qt_headers /usr/include/x86_64-linux-gnu/qt6)
file(MAKE_DIRECTORY "${check_headers}")
# Links to single folders: the host's /usr/include as a whole would hide the headers of mingw-w64.
file(CREATE_LINK /usr/include/log4cpp "${check_headers}/log4cpp" SYMBOLIC)
foreach(module QtCore5Compat QtSvg)
    file(CREATE_LINK "${host_qt_headers}/${module}" "${check_headers}/${module}" SYMBOLIC)
endforeach()

set(vxtool_dir "${PROJECT_SOURCE_DIR}/examples/vxtool")
add_library(windows_syntax_check OBJECT EXCLUDE_FROM_ALL
    ${log4cpp_sources} ${qregexp_sources} ${qregexp_headers} ${svg_sources} ${svg_headers}
    "${vxtool_dir}/contactcommand.cpp"
    "${vxtool_dir}/logsetup_log4cpp.cpp"
    "${vxtool_dir}/sipcommands.cpp"
    "${vxtool_dir}/webcommand.cpp")
target_include_directories(windows_syntax_check PRIVATE "${generated_dir}/private")
target_include_directories(windows_syntax_check SYSTEM PRIVATE
    "${check_headers}" "${check_headers}/QtCore5Compat" "${check_headers}/QtSvg")
target_compile_definitions(windows_syntax_check PRIVATE vxcommon_EXPORTS)
target_link_libraries(windows_syntax_check PRIVATE vxcommon vxcommon_settings)
