# What the dynamic linker does when the library is loaded: little, because it takes most of the time of a start.
include(CheckCSourceCompiles)
include(CheckLinkerFlag)
add_library(zt_binding INTERFACE)

# Binds the library's functions inside the library, but for those of the list.
set(replaceable "${CMAKE_CURRENT_LIST_DIR}/replaceable.list")
target_link_options(zt_binding INTERFACE "-Wl,--dynamic-list=${replaceable}")
set_property(TARGET zt_binding PROPERTY INTERFACE_LINK_DEPENDS "${replaceable}")

# Packs the addresses inside the library to a bit each, which the C library reads since 2.36.
set(pack -Wl,-z,pack-relative-relocs)
check_linker_flag(C ${pack} ZT_LINKER_PACKS_RELOCATIONS)
check_c_source_compiles("
#include <features.h>
#if !__GLIBC_PREREQ(2, 36)
#error too old
#endif
int main(void) { return 0; }" ZT_LIBC_READS_PACKED_RELOCATIONS)
if(ZT_LINKER_PACKS_RELOCATIONS AND ZT_LIBC_READS_PACKED_RELOCATIONS)
  target_link_options(zt_binding INTERFACE ${pack})
endif()
