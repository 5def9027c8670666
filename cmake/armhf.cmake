# The 32-bit target: Debian's cross compiler, Qt from the sysroot that proof/armhf/sysroot unpacks, and an emulator that
# runs what is built. The compiler brings its own C and C++ libraries for linking; at run time the sysroot's serve.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(armhf_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot ABSOLUTE)
if(NOT EXISTS ${armhf_sysroot}/packages.txt)
  message(FATAL_ERROR "There is no sysroot in ${armhf_sysroot}; proof/armhf/sysroot makes it.")
endif()
find_program(EC_QEMU_ARM qemu-arm-static REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(CMAKE_CROSSCOMPILING_EMULATOR ${EC_QEMU_ARM} -L ${armhf_sysroot})

set(CMAKE_FIND_ROOT_PATH ${armhf_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt's libraries need others of the sysroot, which only the linker has to be told; the emulator's loader finds them.
string(JOIN : libraries ${armhf_sysroot}/usr/lib/arm-linux-gnueabihf ${armhf_sysroot}/lib/arm-linux-gnueabihf)
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${libraries})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_SKIP_RPATH ON)
