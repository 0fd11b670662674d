# What every file of the tree is compiled with.
add_library(zt_warnings INTERFACE)
target_compile_options(zt_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wcast-align -Wcast-function-type -Wconversion -Wformat=2 -Wnull-dereference -Wpointer-arith
  -Wshadow -Wundef -Wvla -Wwrite-strings
  $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes -Wstrict-prototypes>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi -Wmissing-declarations -Wnon-virtual-dtor>)
