# Addresses of the telephony service that the client is deployed for. The defaults lie below ".test", a top-level
# domain reserved by RFC 2606, so an undeployed build reaches nobody.
#
# The service SIP domain must have the last-but-one label "quollsip" and a top-level label of 2 to 4 letters, or no
# identifier of the service passes tools::sip::SipId::Check.

set(VXCOMMON_SERVICE_SIP_DOMAIN "quollsip.test" CACHE STRING
    "SIP domain of the service; numbers on it are service numbers")
set(VXCOMMON_EXTERNAL_SERVICE_SIP_DOMAIN "external.quollsip.test" CACHE STRING
    "SIP domain of the service as seen from outside; numbers on it are no service numbers")
set(VXCOMMON_RU_WEB_SERVICES_HOST "ru.web.quollsip.test" CACHE STRING
    "Host of the web services for identities whose domain ends in .ru")
set(VXCOMMON_DEFAULT_WEB_SERVICES_HOST "web.quollsip.test" CACHE STRING
    "Host of the web services for all other identities")

if(NOT VXCOMMON_SERVICE_SIP_DOMAIN MATCHES "^([-a-z0-9]+\\.)*quollsip\\.[a-z][a-z][a-z]?[a-z]?$")
    message(FATAL_ERROR
        "VXCOMMON_SERVICE_SIP_DOMAIN is \"${VXCOMMON_SERVICE_SIP_DOMAIN}\": it must be lower-case and end in "
        "quollsip.TLD, TLD being 2 to 4 letters")
endif()
foreach(name EXTERNAL_SERVICE_SIP_DOMAIN RU_WEB_SERVICES_HOST DEFAULT_WEB_SERVICES_HOST)
    if(NOT VXCOMMON_${name} MATCHES "^[-a-z0-9.]+$")
        message(FATAL_ERROR "VXCOMMON_${name} is \"${VXCOMMON_${name}}\": a lower-case host name is needed")
    endif()
endforeach()
