# Sanitizers and coverage, the same for the library, the examples, the tests and the fuzz targets.
add_library(zt_instrumentation INTERFACE)
if(ZT_SANITIZE OR ZT_COVERAGE OR ZT_BUILD_FUZZERS)
  set(ZT_INSTRUMENTED ON)
endif()
# Getters and slots may take fewer arguments than they are called with; only clang reports that.
set(no_function_types $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
if(ZT_SANITIZE STREQUAL "thread")
  set(flags -fsanitize=thread -fno-omit-frame-pointer)
  # With the inserted calls, GCC reports null pointers that cannot occur.
  target_compile_options(zt_instrumentation INTERFACE ${flags} -Wno-null-dereference)
  target_link_options(zt_instrumentation INTERFACE ${flags})
elseif(ZT_SANITIZE)
  set(flags -fsanitize=address,undefined ${no_function_types} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
  target_compile_options(zt_instrumentation INTERFACE ${flags})
  target_link_options(zt_instrumentation INTERFACE ${flags})
  # GCC defines this macro itself.
  target_compile_definitions(zt_instrumentation INTERFACE $<$<CXX_COMPILER_ID:Clang>:__SANITIZE_ADDRESS__=1>)
endif()
if(ZT_COVERAGE)
  # Threads count as well, and a lost count would make the figures differ from run to run.
  target_compile_options(zt_instrumentation INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(zt_instrumentation INTERFACE --coverage)
endif()
if(ZT_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "libFuzzer comes with clang")
  endif()
  set(flags -fsanitize=fuzzer-no-link,address,undefined ${no_function_types} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
  target_compile_options(zt_instrumentation INTERFACE ${flags})
  target_link_options(zt_instrumentation INTERFACE ${flags})
endif()
