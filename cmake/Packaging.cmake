# Settings of the zip archive that `scripts/package.sh windows` creates with cpack. Debian packages are built from
# debian/.

if(WIN32)
    include(WindowsBundle)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_NAME vxcommon)
    set(CPACK_PACKAGE_VENDOR "the vxcommon authors")
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
    set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
    set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
    set(CPACK_STRIP_FILES ON)
    set(CPACK_COMPONENTS_ALL runtime development)
    include(CPack)
endif()
