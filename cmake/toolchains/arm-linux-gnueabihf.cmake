# 32-bit ARM with hardware floating point, little-endian: Debian's cross compiler, qemu runs the tests.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(triple arm-linux-gnueabihf)
set(emulator qemu-arm)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
