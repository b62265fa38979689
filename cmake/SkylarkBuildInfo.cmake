# The build's version and, for a compiler that does not know SOURCE_DATE_EPOCH, its date and time.

set(skylark_build_info_dir "${PROJECT_BINARY_DIR}/generated")
configure_file("${CMAKE_CURRENT_LIST_DIR}/build_version.h.in"
  "${skylark_build_info_dir}/build_version.h" @ONLY)

# g++ derives __DATE__ and __TIME__ from SOURCE_DATE_EPOCH itself; clang++ does so from version 16 on.
set(skylark_build_time_definitions "")
if(DEFINED ENV{SOURCE_DATE_EPOCH} AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"
   AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 16)
  string(TIMESTAMP skylark_month "%b" UTC)
  string(TIMESTAMP skylark_day "%d" UTC)
  string(TIMESTAMP skylark_year "%Y" UTC)
  string(TIMESTAMP skylark_time "%H:%M:%S" UTC)
  string(REGEX REPLACE "^0" " " skylark_day "${skylark_day}")
  set(skylark_build_time_definitions -Wno-builtin-macro-redefined
    "-D__DATE__=\"${skylark_month} ${skylark_day} ${skylark_year}\""
    "-D__TIME__=\"${skylark_time}\"")
endif()
