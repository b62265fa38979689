# What the toolchain files share: ${triple} names Debian's cross compiler and the directory of its C
# library, ${emulator} the program that runs what they make. A vendor's own toolchain file needs the
# system, the processor, the compilers and CMAKE_SYSROOT.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER "${triple}-gcc")
set(CMAKE_CXX_COMPILER "${triple}-g++")

# Programs are the building machine's, and so are CMake packages: only those made of headers are used.
set(CMAKE_FIND_ROOT_PATH "/usr/${triple}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# A full path, because tests start programs with execv(3). Without it a library for the box still builds.
find_program(SKYLARK_EMULATOR "${emulator}")
if(SKYLARK_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${SKYLARK_EMULATOR};-L;/usr/${triple}")
endif()
