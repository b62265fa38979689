# What every target of the tree is compiled with: skylark_compile_options, linked privately. Sources name the tree's
# headers from its root; those that programs may include, also as programs do.

add_library(skylark_compile_options INTERFACE)

set(skylark_warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(SKYLARK_WERROR)
  list(APPEND skylark_warnings -Werror)
endif()

target_include_directories(skylark_compile_options INTERFACE "${PROJECT_SOURCE_DIR}" "${skylark_include_dir}")
target_compile_options(skylark_compile_options INTERFACE
  ${skylark_warnings}
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>
  # The same tree gives the same bytes wherever it lies.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

# On a 32-bit machine: sizes of files above 2 GiB, physical addresses above 2 GiB, and dates after 2038. No
# header of the library shows such a type.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(skylark_compile_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()
