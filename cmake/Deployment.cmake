# Settings that differ between deployments of the client.
#
# Addresses of the telephony service. The defaults lie below ".test", a top-level domain reserved by RFC 2606, so
# a build with these defaults contacts no real server.
#
# The service SIP domain must end in "quollsip." followed by a top-level label of 2 to 4 letters; otherwise, no
# identifier of the service passes tools::sip::SipId::Check.

set(VXCOMMON_SERVICE_SIP_DOMAIN "quollsip.test" CACHE STRING
    "SIP domain of the service; numbers on it are service numbers")
set(VXCOMMON_RU_WEB_SERVICES_HOST "ru.web.quollsip.test" CACHE STRING
    "Host of the web services for identities whose domain ends in .ru")
set(VXCOMMON_DEFAULT_WEB_SERVICES_HOST "web.quollsip.test" CACHE STRING
    "Host of the web services for all other identities")

if(NOT VXCOMMON_SERVICE_SIP_DOMAIN MATCHES "^([-a-z0-9]+\\.)*quollsip\\.[a-z][a-z][a-z]?[a-z]?$")
    message(FATAL_ERROR
        "VXCOMMON_SERVICE_SIP_DOMAIN is \"${VXCOMMON_SERVICE_SIP_DOMAIN}\": it must be lower-case and end in "
        "quollsip.TLD, TLD being 2 to 4 letters")
endif()
# External domain of the service; numbers on this domain are not service numbers.
set(VXCOMMON_EXTERNAL_SERVICE_SIP_DOMAIN "external.${VXCOMMON_SERVICE_SIP_DOMAIN}")

foreach(name RU_WEB_SERVICES_HOST DEFAULT_WEB_SERVICES_HOST)
    if(NOT VXCOMMON_${name} MATCHES "^[-a-z0-9.]+$")
        message(FATAL_ERROR "VXCOMMON_${name} is \"${VXCOMMON_${name}}\": a lower-case host name is needed")
    endif()
endforeach()

# Constants of the local cipher. All copies of a client that share stored data must be built with the same constants.

set(VXCOMMON_CIPHER_IV "C4D17E09A2B6483F9E5A10D7B3F2686C" CACHE STRING
    "32 upper-case hexadecimal digits; the first 16, as characters, are the initialisation vector")
set(VXCOMMON_MACHINE_KEY_BASE "7AE3059C1D6B4F82A9C4E0136D5FB27E" CACHE STRING
    "32 upper-case hexadecimal digits with which the user's name is mixed to form the machine key")
set(VXCOMMON_MACHINE_KEY_DEFAULT_USER "{5D0C8E21-7B3F-4A96-B1E4-2F6A90C3D718}" CACHE STRING
    "Braced GUID to use if the system provides no user name")

foreach(name CIPHER_IV MACHINE_KEY_BASE)
    string(LENGTH "${VXCOMMON_${name}}" length)
    if(NOT length EQUAL 32 OR NOT VXCOMMON_${name} MATCHES "^[0-9A-F]+$")
        message(FATAL_ERROR
            "VXCOMMON_${name} is \"${VXCOMMON_${name}}\": 32 upper-case hexadecimal digits are needed")
    endif()
endforeach()
string(LENGTH "${VXCOMMON_MACHINE_KEY_DEFAULT_USER}" length)
if(NOT length EQUAL 38 OR NOT VXCOMMON_MACHINE_KEY_DEFAULT_USER MATCHES "^{[-0-9A-F]+}$")
    message(FATAL_ERROR
        "VXCOMMON_MACHINE_KEY_DEFAULT_USER is \"${VXCOMMON_MACHINE_KEY_DEFAULT_USER}\": a braced GUID is needed")
endif()
