# Debian packages by CPack, one for each component: skylark-io, skylark-io-dev and skylark-io-tools. Those that drive
# a real box have names of their own, skylark-io-box and so on, so that nobody installs them on a desk by accident.

set(CPACK_PACKAGE_CONTACT "skylark_io maintainers <maintainers@skylark-io.invalid>"
  CACHE STRING "Whom the Debian packages name as their maintainer")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library dev tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(package skylark-io)
set(other skylark-io-box)
set(platform "This build drives a simulated box, a directory of files, and no
hardware: it is for a desk.")
if(NOT DTC_PLATFORM STREQUAL simulated)
  set(package skylark-io-box)
  set(other skylark-io)
  set(platform "This build drives a real DTC box: it mounts file systems, sets the
clock, configures the network and erases flash where it runs. It is
for the box alone, never for a desk.")
  set(box_overrides "# The name tells the box's packages from those for a desk.
${package}: package-name-doesnt-match-sonames *")
endif()
set(dev_suffix -dev)
set(tools_suffix -tools)
set(library_section libs)
set(dev_section libdevel)
set(tools_section devel)
set(library_text "IO adapter and configuration library of the DTC probe
skylark_io.so exchanges messages with programs elsewhere over TCP, keeps
the configuration of a DTC debug and trace probe, and drives the
probe's hardware.")
set(dev_text "headers and build files for the DTC probe's skylark_io.so
Headers, example programs, and what CMake and pkg-config need to build
programs with the IO adapter and configuration library of the DTC
debug and trace probe.")
set(tools_text "command-line tool for the DTC debug and trace probe
dtcctl exchanges messages with programs on a DTC probe, reads and
changes the probe's configuration, installs its firmware and switches
its hardware.")

# A build for another machine says so, and this one's libraries tell nothing of what it needs.
set(shlibdeps ON)
set(runtime_depends "")
if(CMAKE_CROSSCOMPILING)
  set(shlibdeps OFF)
  set(runtime_depends "libc6, libgcc-s1, libstdc++6, ")
  execute_process(COMMAND dpkg-architecture -f -t "${CMAKE_LIBRARY_ARCHITECTURE}" -q DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
endif()
string(REGEX REPLACE ", $" "" CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "${runtime_depends}")
set(same_version "${package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_depends}${same_version}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ${shlibdeps})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ${shlibdeps})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/package/triggers")

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
find_program(SKYLARK_GZIP gzip REQUIRED)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  set(name "${package}${${component}_suffix}")
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${${component}_section})
  set(CPACK_DEBIAN_${key}_PACKAGE_CONFLICTS "${other}${${component}_suffix}")
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${${component}_text}\n.\n${platform}")

  set(directory "${PROJECT_BINARY_DIR}/generated/package/${name}")
  configure_file("${CMAKE_CURRENT_LIST_DIR}/package/changelog.in" "${directory}/changelog.Debian" @ONLY)
  execute_process(COMMAND "${SKYLARK_GZIP}" -9nf "${directory}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${directory}/changelog.Debian.gz" "${CMAKE_CURRENT_LIST_DIR}/package/copyright"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}" COMPONENT ${component})
  set(overrides overrides.in)
  if(component STREQUAL library)
    set(overrides overrides-library.in)
  endif()
  configure_file("${CMAKE_CURRENT_LIST_DIR}/package/${overrides}" "${directory}/${name}" @ONLY)
  install(FILES "${directory}/${name}" DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides"
    COMPONENT ${component})
endforeach()
include(CPack)
