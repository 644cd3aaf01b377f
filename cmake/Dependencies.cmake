# Every package that the library links. A missing one ends the configuration with its name.

find_package(Qt6 6.4 REQUIRED COMPONENTS Core Network Gui Widgets)
if(VXCOMMON_WITH_QREGEXP)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Core5Compat)
endif()
if(VXCOMMON_WITH_SVG)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Svg)
endif()
if(VXCOMMON_WITH_LOG4CPP)
    find_package(Log4cpp REQUIRED)
endif()
find_package(ZLIB REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
