# The static library: one object, made of all sources. Whatever a program uses of it, it takes the object that
# starts the engine with it.
add_library(ztcore_objects OBJECT ${ZT_SOURCES})
zt_compile_library(ztcore_objects)
target_include_directories(ztcore_objects PRIVATE "${PROJECT_SOURCE_DIR}")
# Compiling the modules one by one, GCC reports null pointers that cannot occur.
add_library(zt_single_modules INTERFACE)
target_compile_options(zt_single_modules INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference>)
target_link_libraries(ztcore_objects PRIVATE zt_single_modules)
set_target_properties(ztcore_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)

# As in the shared library, only the marked functions are visible, and a program may define the memory functions
# itself. The engine starts before all constructors of the program and ends after all its destructors. Its code has a
# section of its own, by which it is told from the program's.
set(whole "${PROJECT_BINARY_DIR}/static/ztcore.o")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/static")
add_custom_command(
  OUTPUT "${whole}"
  COMMAND "${CMAKE_LINKER}" -r --force-group-allocation -T "${CMAKE_CURRENT_LIST_DIR}/static.ld" -o "${whole}"
          "$<TARGET_OBJECTS:ztcore_objects>"
  COMMAND "${CMAKE_OBJCOPY}" $<$<CONFIG:Release>:--strip-debug> --localize-hidden --wildcard --weaken-symbol=ztm_*
          --rename-section .init_array=.init_array.00101 --rename-section .fini_array=.fini_array.00102
          "${whole}"
  DEPENDS ztcore_objects "${CMAKE_CURRENT_LIST_DIR}/static.ld" "$<TARGET_OBJECTS:ztcore_objects>"
  COMMENT "Joining the objects of the static library"
  COMMAND_EXPAND_LISTS VERBATIM)

add_library(ztcore_static STATIC "${whole}")
add_library(Zentova::ztcore_static ALIAS ztcore_static)
set_target_properties(ztcore_static PROPERTIES
  OUTPUT_NAME ztcore
  LINKER_LANGUAGE C
  ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")
