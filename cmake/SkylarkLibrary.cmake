# The product: skylark_io.so, and the same objects as a static library that only tests, fuzz targets and some
# benchmarks link, because they reach what the shared library does not let out.

# Says which of a folder's headers programs may include, by <skylark_io/FOLDER/HEADER>: they are installed so, and the
# build directory has links of these names. They include each other by relative paths.
function(skylark_public_headers)
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
  file(MAKE_DIRECTORY "${skylark_include_dir}/skylark_io/${folder}")
  foreach(header IN LISTS ARGN)
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}/${header}" "${skylark_include_dir}/skylark_io/${folder}/${header}"
      SYMBOLIC)
  endforeach()
  if(SKYLARK_INSTALL)
    install(FILES ${ARGN} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/skylark_io/${folder}" COMPONENT dev)
  endif()
endfunction()

# Compiles a target's sources as parts of the library.
function(skylark_library_objects target)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PRIVATE "${skylark_build_info_dir}")
  target_link_libraries(${target} PRIVATE skylark_compile_options PUBLIC Threads::Threads)
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections
    # The box has little room, and most of the library waits for its devices or its shell anyway.
    $<$<CONFIG:Release>:-Os>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(${target} PRIVATE -Wthread-safety) # util/thread_annotations.h
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The library is linked with -Bsymbolic: its functions are never replaced by others of the same name.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    # A unique symbol would keep the library in the process for ever after dlopen.
    target_compile_options(${target} PRIVATE -fno-gnu-unique)
    # The message path runs through small functions of several files.
    set_target_properties(${target} PROPERTIES
      INTERPROCEDURAL_OPTIMIZATION_RELEASE ON
      INTERPROCEDURAL_OPTIMIZATION_RELWITHDEBINFO ON)
    # With code in the objects too, the test programs need not optimise the whole library each for itself.
    target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-ffat-lto-objects>)
  endif()
endfunction()

# Sources that each message runs through: they are optimised for speed all the same.
function(skylark_message_path)
  set_source_files_properties(${ARGN} TARGET_DIRECTORY skylark_io_objects
    PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>")
endfunction()

add_library(skylark_io_objects OBJECT)
skylark_library_objects(skylark_io_objects)

set(skylark_version_script "${CMAKE_CURRENT_LIST_DIR}/skylark_io.map")
add_library(skylark_io SHARED)
add_library(skylark_io::skylark_io ALIAS skylark_io) # as the installed package calls it
target_include_directories(skylark_io INTERFACE "$<BUILD_INTERFACE:${skylark_include_dir}>")
set_target_properties(skylark_io PROPERTIES
  # The name by which adapter libraries are found. It is the SONAME too, without a version: so a process that is
  # linked with the library and loads it by name has it once.
  PREFIX ""
  LINK_DEPENDS "${skylark_version_script}")
target_link_libraries(skylark_io PRIVATE skylark_io_objects skylark_platform_${DTC_PLATFORM})
# Its headers need it; a project that is C alone knows nothing of it.
target_compile_features(skylark_io INTERFACE "$<$<BOOL:$<CXX_COMPILER_ID>>:cxx_std_17>")
target_link_options(skylark_io PRIVATE
  "LINKER:--version-script=${skylark_version_script}"
  # The library uses its own functions and data, whatever else the process holds: a program may drive several
  # adapter libraries that let out the same names.
  LINKER:-Bsymbolic
  LINKER:--gc-sections LINKER:--as-needed LINKER:-z,relro LINKER:-z,now)

add_library(skylark_io_static STATIC EXCLUDE_FROM_ALL)
target_link_libraries(skylark_io_static PUBLIC skylark_io_objects skylark_platform_simulated)
