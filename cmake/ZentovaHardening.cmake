# Protects the library's file against remaining mistakes, its own or its host's.
include(CheckCXXSourceCompiles)
add_library(zt_hardening INTERFACE)

# Detects overwritten ends of stacks, and lets calls and returns go only to their proper targets.
target_compile_options(zt_hardening INTERFACE -fstack-protector-strong -fcf-protection=full)

# Calls of the C library check their sizes, on level 3, if compiler and C library have it, also sizes known
# only at run time. This needs an optimised build; sanitizers check more. A packager's own build type has its
# own options.
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

# Every address is bound when the library is loaded, and its tables are read-only afterwards. The C library's
# start-up file adds an _init and a _fini that do nothing and are not marked as targets of indirect calls.
# Without entries for them nothing calls them, and the file can be marked as protected.
target_link_options(zt_hardening INTERFACE
  -Wl,-z,relro,-z,now -Wl,-z,ibt,-z,shstk -Wl,-init=,-fini=)

# The version of every exported symbol.
set(exports "${CMAKE_CURRENT_LIST_DIR}/ztcore.map")
target_link_options(zt_hardening INTERFACE "-Wl,--version-script=${exports}")
set_property(TARGET zt_hardening PROPERTY INTERFACE_LINK_DEPENDS "${exports}")
