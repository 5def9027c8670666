# The 32-bit target as for everybody who builds the driver for it, and an emulator that runs what is built here.
include(${CMAKE_CURRENT_LIST_DIR}/../examples/cross-armhf/toolchain.cmake)

find_program(EC_QEMU_ARM qemu-arm-static REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_CROSSCOMPILING_EMULATOR ${EC_QEMU_ARM} -L ${ec_sysroot})
