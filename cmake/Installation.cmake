# Installs the library's headers below include/vxcommon, its CMake package and its pkg-config file.

install(TARGETS vxcommon EXPORT vxcommonTargets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vxcommon" COMPONENT development)

include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/vxcommon")
list(JOIN public_qt_components " " VXCOMMON_PUBLIC_QT_COMPONENTS)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/vxcommonConfig.cmake.in"
    "${generated_dir}/vxcommonConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${generated_dir}/vxcommonConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${generated_dir}/vxcommonConfig.cmake" "${generated_dir}/vxcommonConfigVersion.cmake"
    DESTINATION "${package_dir}" COMPONENT development)
install(EXPORT vxcommonTargets NAMESPACE vxcommon:: DESTINATION "${package_dir}" COMPONENT development)

list(TRANSFORM public_qt_components PREPEND Qt6 OUTPUT_VARIABLE pc_requires)
list(JOIN pc_requires " " VXCOMMON_PC_REQUIRES)
# Make the prefix relative to the .pc file, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
cmake_path(APPEND VXCOMMON_PC_PREFIX "\${pcfiledir}" "${prefix_from_pc}")
cmake_path(APPEND VXCOMMON_PC_LIBDIR "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND VXCOMMON_PC_INCLUDEDIR "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}/vxcommon")
configure_file("${CMAKE_CURRENT_LIST_DIR}/vxcommon.pc.in" "${generated_dir}/vxcommon.pc" @ONLY)
install(FILES "${generated_dir}/vxcommon.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
