# Installing, in three components: library (the library alone), dev (what programs are built with) and tools
# (dtcctl). Included before the folders; their CMakeLists.txt install what is theirs.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(skylark_example_dir "${CMAKE_INSTALL_DATADIR}/skylark_io/examples")
set(skylark_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/skylark_io")
set(skylark_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

set(skylark_generated_dir "${PROJECT_BINARY_DIR}/generated")

if(SKYLARK_INSTALL)
  install(TARGETS skylark_io EXPORT skylark_io
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

  # The library needs no other package, so its exported target is the whole CMake package.
  install(EXPORT skylark_io NAMESPACE skylark_io:: FILE skylark_io-config.cmake
    DESTINATION "${skylark_package_dir}" COMPONENT dev)
  write_basic_package_version_file("${skylark_generated_dir}/skylark_io-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${skylark_generated_dir}/skylark_io-config-version.cmake"
    DESTINATION "${skylark_package_dir}" COMPONENT dev)

  file(RELATIVE_PATH skylark_prefix_from_pkgconfig "/prefix/${skylark_pkgconfig_dir}" "/prefix")
  string(REGEX REPLACE "/$" "" skylark_prefix_from_pkgconfig "${skylark_prefix_from_pkgconfig}")
  configure_file("${CMAKE_CURRENT_LIST_DIR}/skylark_io.pc.in" "${skylark_generated_dir}/skylark_io.pc" @ONLY)
  install(FILES "${skylark_generated_dir}/skylark_io.pc" DESTINATION "${skylark_pkgconfig_dir}" COMPONENT dev)
endif()

# Programs find the library beside them wherever they are put; in /usr the system's loader finds it.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  file(RELATIVE_PATH skylark_libdir_from_bindir
    "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(CMAKE_INSTALL_RPATH "$ORIGIN/${skylark_libdir_from_bindir}")
endif()

# Compresses a file of the build for installing: sets the variable to what it becomes, NAME.gz.
function(skylark_compressed target file result)
  find_program(SKYLARK_GZIP gzip REQUIRED)
  set(output "${CMAKE_CURRENT_BINARY_DIR}/${target}.gz")
  add_custom_command(OUTPUT "${output}"
    COMMAND "${SKYLARK_GZIP}" -9nc "${file}" > "${output}" DEPENDS "${file}" VERBATIM)
  add_custom_target(compressed_${target} ALL DEPENDS "${output}")
  set(${result} "${output}" PARENT_SCOPE)
endfunction()
