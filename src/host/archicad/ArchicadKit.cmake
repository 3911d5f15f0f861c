# Reads the Archicad API Development Kit named by AC_API_DEVKIT_DIR, before
# project(): the kit's version decides the C++ standard and the macOS
# deployment target of the whole build. Sets
#   PW_AC_KIT_ROOT, PW_AC_SUPPORT   the kit's root and Support folders
#   PW_AC_VERSION                   26, 27, 28 or 29 (from the kit's ACAPinc.h)
#   PW_AC_CXX_STANDARD              17, or 20 for 29 (its GSRoot headers use concepts)
#   PW_AC_MIN_MACOS                 10.15, or 11.0 for 28 and 29
#   PW_AC_STAT_LIB                  the kit's static library (export glue)
# and CMAKE_OSX_DEPLOYMENT_TARGET when it is not given.

if(EXISTS "${AC_API_DEVKIT_DIR}/Support/Inc/ACAPinc.h")
  get_filename_component(PW_AC_KIT_ROOT "${AC_API_DEVKIT_DIR}" ABSOLUTE)
elseif(EXISTS "${AC_API_DEVKIT_DIR}/Inc/ACAPinc.h")
  get_filename_component(PW_AC_KIT_ROOT "${AC_API_DEVKIT_DIR}/.." ABSOLUTE)
else()
  message(FATAL_ERROR "AC_API_DEVKIT_DIR=${AC_API_DEVKIT_DIR}: no Support/Inc/ACAPinc.h (or Inc/ACAPinc.h) found there")
endif()
set(PW_AC_SUPPORT "${PW_AC_KIT_ROOT}/Support")

# Every kit defines ServerMainVers_<v>00 for its own version and all earlier
# ones: the highest is the kit's.
file(READ "${PW_AC_SUPPORT}/Inc/ACAPinc.h" _pw_acapinc)
string(REGEX MATCHALL "#define[ \t]+ServerMainVers_[0-9][0-9]00" _pw_versions "${_pw_acapinc}")
set(PW_AC_VERSION "")
foreach(_pw_v IN LISTS _pw_versions)
  string(REGEX REPLACE ".*ServerMainVers_([0-9][0-9])00" "\\1" _pw_v "${_pw_v}")
  if(PW_AC_VERSION STREQUAL "" OR _pw_v GREATER PW_AC_VERSION)
    set(PW_AC_VERSION "${_pw_v}")
  endif()
endforeach()
if(NOT PW_AC_VERSION MATCHES "^(26|27|28|29)$")
  message(FATAL_ERROR "AC_API_DEVKIT_DIR: the add-on builds with the Archicad 26, 27, 28 or 29 kit; this kit is for version '${PW_AC_VERSION}'")
endif()

if(PW_AC_VERSION STREQUAL "29")
  set(PW_AC_CXX_STANDARD 20)
else()
  set(PW_AC_CXX_STANDARD 17)
endif()
if(PW_AC_VERSION GREATER_EQUAL 28)
  set(PW_AC_MIN_MACOS "11.0")
else()
  set(PW_AC_MIN_MACOS "10.15")
endif()
if(PW_AC_VERSION STREQUAL "26")
  set(PW_AC_STAT_LIB "${PW_AC_SUPPORT}/Lib/Mactel/libACAP_STAT.a")
else()
  set(PW_AC_STAT_LIB "${PW_AC_SUPPORT}/Lib/libACAP_STAT.a")
endif()

if(NOT CMAKE_HOST_SYSTEM_NAME STREQUAL "Darwin")
  # Only the compile check runs away from a Mac; there is no deployment target.
elseif(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
  set(CMAKE_OSX_DEPLOYMENT_TARGET "${PW_AC_MIN_MACOS}" CACHE STRING "Minimum macOS version (from the Archicad kit)" FORCE)
elseif(CMAKE_OSX_DEPLOYMENT_TARGET VERSION_LESS PW_AC_MIN_MACOS)
  message(FATAL_ERROR "CMAKE_OSX_DEPLOYMENT_TARGET=${CMAKE_OSX_DEPLOYMENT_TARGET}: Archicad ${PW_AC_VERSION} add-ons need macOS ${PW_AC_MIN_MACOS} or later")
endif()
