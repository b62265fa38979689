# The product: skylark_io.so, and the same objects as a static library that only the tests link,
# because tests reach what the shared library does not let out.

add_library(skylark_io_objects OBJECT)
set_target_properties(skylark_io_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(skylark_io_objects
  PUBLIC "${CMAKE_SOURCE_DIR}"
  PRIVATE "${skylark_build_info_dir}")
target_link_libraries(skylark_io_objects PRIVATE skylark_compile_options PUBLIC Threads::Threads)
target_compile_options(skylark_io_objects PRIVATE -ffunction-sections -fdata-sections)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A unique symbol would keep the library in the process for ever after dlopen.
  target_compile_options(skylark_io_objects PRIVATE -fno-gnu-unique)
  # The message path runs through small functions of several files.
  set_target_properties(skylark_io_objects PROPERTIES
    INTERPROCEDURAL_OPTIMIZATION_RELEASE ON
    INTERPROCEDURAL_OPTIMIZATION_RELWITHDEBINFO ON)
endif()

set(skylark_version_script "${CMAKE_SOURCE_DIR}/cmake/skylark_io.map")
add_library(skylark_io SHARED)
set_target_properties(skylark_io PROPERTIES
  PREFIX ""                  # the name by which adapter libraries are found
  LINK_DEPENDS "${skylark_version_script}")
target_link_libraries(skylark_io PRIVATE skylark_io_objects)
target_include_directories(skylark_io INTERFACE "${CMAKE_SOURCE_DIR}")
target_link_options(skylark_io PRIVATE
  "LINKER:--version-script=${skylark_version_script}"
  LINKER:-Bsymbolic-functions # calls within the library are direct, and nobody can come between
  LINKER:--gc-sections LINKER:--as-needed LINKER:-z,relro LINKER:-z,now)

add_library(skylark_io_static STATIC)
target_link_libraries(skylark_io_static PUBLIC skylark_io_objects)
