# Installs the library, the public headers under one root of their own, and the files that CMake and
# pkg-config read. All of it may be moved to another prefix as a whole. What a program needs to run is the
# component `runtime`, the rest `development`.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(headers_folder "${CMAKE_INSTALL_INCLUDEDIR}/zentova")
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Zentova")
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

target_sources(ztcore PUBLIC FILE_SET HEADERS
               BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${ZT_HEADERS})
install(TARGETS ztcore EXPORT zentova
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        FILE_SET HEADERS DESTINATION "${headers_folder}" COMPONENT development)

# For the header zentova.hpp.
add_library(zt_cpp INTERFACE)
add_library(Zentova::cpp ALIAS zt_cpp)
set_target_properties(zt_cpp PROPERTIES EXPORT_NAME cpp)
target_link_libraries(zt_cpp INTERFACE ztcore)
target_compile_features(zt_cpp INTERFACE cxx_std_20)
install(TARGETS zt_cpp EXPORT zentova)

install(EXPORT zentova FILE ZentovaTargets.cmake NAMESPACE Zentova:: DESTINATION "${package_folder}"
        COMPONENT development)
if(ZT_BUILD_STATIC)
  target_include_directories(ztcore_static INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${headers_folder}>")
  install(TARGETS ztcore_static EXPORT zentova_static
          ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
  install(EXPORT zentova_static FILE ZentovaStaticTargets.cmake NAMESPACE Zentova::
          DESTINATION "${package_folder}" COMPONENT development)
endif()

configure_package_config_file(cmake/ZentovaConfig.cmake.in "${PROJECT_BINARY_DIR}/ZentovaConfig.cmake"
                              INSTALL_DESTINATION "${package_folder}"
                              NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZentovaConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZentovaConfig.cmake" "${PROJECT_BINARY_DIR}/ZentovaConfigVersion.cmake"
        DESTINATION "${package_folder}" COMPONENT development)

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

# zt_install_pkgconfig(NAME LIBRARY): a .pc file, and what it links.
function(zt_install_pkgconfig name pc_libs)
  zt_pkgconfig_path("${headers_folder}" pc_includedir)
  zt_pkgconfig_path("${CMAKE_INSTALL_LIBDIR}" pc_libdir)
  configure_file(cmake/zentova.pc.in ${name}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${pkgconfig_folder}" COMPONENT development)
endfunction()
zt_install_pkgconfig(zentova "-L\${libdir} -lztcore")
if(ZT_BUILD_STATIC)
  zt_install_pkgconfig(zentova-static "\${libdir}/libztcore.a")
endif()
