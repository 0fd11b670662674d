# The warnings for all files of the tree. Errors they are where the tree is worked on: other compilers have
# warnings that ours do not have.
option(ZT_WERROR "Take every warning for an error" OFF)
add_library(zt_warnings INTERFACE)
target_compile_options(zt_warnings INTERFACE
  -Wall -Wextra -Wpedantic $<$<BOOL:${ZT_WERROR}>:-Werror>
  -Wcast-align -Wcast-function-type -Wconversion -Wformat=2 -Wnull-dereference -Wpointer-arith
  -Wshadow -Wundef -Wvla -Wwrite-strings
  $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes -Wstrict-prototypes>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi -Wmissing-declarations -Wnon-virtual-dtor>)
