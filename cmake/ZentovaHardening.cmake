# What guards the library's file against a mistake that slipped through, in it or in its host.
include(CheckCXXSourceCompiles)
add_library(zt_hardening INTERFACE)

# Stacks whose end is overwritten are noticed, and calls and returns go where the program sends them.
target_compile_options(zt_hardening INTERFACE -fstack-protector-strong -fcf-protection=full)

# Calls of the C library check their sizes: the third level, those that are known only when they run, where
# compiler and C library have it. They take an optimised build; sanitizers look closer than they do. A build
# type of a packager's own brings its own.
set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("#include <string.h>\nint main() { return 0; }" ZT_HAS_FORTIFY_LEVEL_3)
unset(CMAKE_REQUIRED_FLAGS)
set(level 2)
if(ZT_HAS_FORTIFY_LEVEL_3)
  set(level 3)
endif()
if(NOT ZT_INSTRUMENTED)
  target_compile_options(zt_hardening INTERFACE
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
endif()

# Every address is found when the library is loaded, and its tables are read-only from then on. The C
# library's own start-up file brings an _init and a _fini that do nothing and are no targets of indirect
# calls; without entries for them nobody calls them, and the file may say that all of it is guarded.
target_link_options(zt_hardening INTERFACE
  -Wl,-z,relro,-z,now -Wl,-z,ibt,-z,shstk -Wl,-init=,-fini=)

# The version of every exported symbol.
set(exports "${CMAKE_CURRENT_LIST_DIR}/ztcore.map")
target_link_options(zt_hardening INTERFACE "-Wl,--version-script=${exports}")
set_property(TARGET zt_hardening PROPERTY INTERFACE_LINK_DEPENDS "${exports}")
