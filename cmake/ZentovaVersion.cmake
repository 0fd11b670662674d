# The version is in two places: in project(), for building and packaging, and in a header, which programs can
# read in a checkout that was never configured. Compares the two.
set(version_header "${PROJECT_SOURCE_DIR}/core/ztversion.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${version_header}")
file(READ "${version_header}" text)
foreach(part IN ITEMS MAJOR MINOR PATCH)
  string(REGEX MATCH "#define ZT_VERSION_${part} ([0-9]+)\n" line "${text}")
  if(NOT "${CMAKE_MATCH_1}" STREQUAL "${PROJECT_VERSION_${part}}")
    message(FATAL_ERROR "ZT_VERSION_${part} in core/ztversion.h is \"${CMAKE_MATCH_1}\", that of project() is "
                        "${PROJECT_VERSION_${part}}: set both to the same")
  endif()
endforeach()
