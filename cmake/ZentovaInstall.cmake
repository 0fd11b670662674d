# Installs the library, the public headers under one root of their own, and the files that CMake and
# pkg-config read. All of it may be moved to another prefix as a whole.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(headers_folder "${CMAKE_INSTALL_INCLUDEDIR}/zentova")
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Zentova")
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

target_sources(ztcore PUBLIC FILE_SET HEADERS
               BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ZT_HEADERS} zentova.hpp)
install(TARGETS ztcore EXPORT zentova
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        FILE_SET HEADERS DESTINATION "${headers_folder}")

install(EXPORT zentova FILE ZentovaConfig.cmake NAMESPACE Zentova:: DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZentovaConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZentovaConfigVersion.cmake" DESTINATION "${package_folder}")

# A folder in the form for pkg-config: relative to the .pc file, unless the folder is outside the prefix.
function(zt_pkgconfig_path folder out)
  if(IS_ABSOLUTE "${folder}" OR IS_ABSOLUTE "${pkgconfig_folder}")
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
  else()
    file(RELATIVE_PATH back "/${pkgconfig_folder}" "/")
    string(REGEX REPLACE "/$" "" back "${back}")
    set(folder "\${pcfiledir}/${back}/${folder}")
  endif()
  set(${out} "${folder}" PARENT_SCOPE)
endfunction()

zt_pkgconfig_path("${headers_folder}" pc_includedir)
zt_pkgconfig_path("${CMAKE_INSTALL_LIBDIR}" pc_libdir)
configure_file(cmake/zentova.pc.in zentova.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zentova.pc" DESTINATION "${pkgconfig_folder}")
