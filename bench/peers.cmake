# What the benchmarks compare with, where it is installed: PkgConfig::GLIB, and Core of Qt in ZT_QT.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(GLIB QUIET IMPORTED_TARGET glib-2.0 gobject-2.0)
endif()

find_package(QT NAMES Qt6 Qt5 QUIET COMPONENTS Core)
if(QT_FOUND)
  find_package(Qt${QT_VERSION_MAJOR} QUIET COMPONENTS Core)
  if(TARGET Qt${QT_VERSION_MAJOR}::Core)
    set(ZT_QT Qt${QT_VERSION_MAJOR}::Core)
  endif()
endif()
