# 32-bit PowerPC, big-endian: Debian's cross compiler, qemu runs the tests.
set(CMAKE_SYSTEM_PROCESSOR ppc)
set(triple powerpc-linux-gnu)
set(emulator qemu-ppc)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
