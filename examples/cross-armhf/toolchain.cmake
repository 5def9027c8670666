# Debian's cross compiler for 32-bit ARM with hardware floating point. The target's Qt 5 is in a sysroot, a folder that
# holds its files as / does; another place for it is told by -D EC_SYSROOT=FOLDER.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(EC_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-sysroot CACHE PATH "Files of the target")
# CMake reads this file again for each thing that it tries out.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES EC_SYSROOT)
get_filename_component(ec_sysroot ${EC_SYSROOT} ABSOLUTE)
if(NOT EXISTS ${ec_sysroot}/usr/lib/arm-linux-gnueabihf/cmake/Qt5Core)
  message(FATAL_ERROR "There is no Qt 5 for armhf in ${ec_sysroot}; proof/armhf/sysroot puts Debian's there.")
endif()

# Libraries and headers are the target's, programs that run while building are this machine's. The compiler brings its
# own C and C++ libraries.
set(CMAKE_FIND_ROOT_PATH ${ec_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt's libraries need others of the sysroot, which only the linker has to be told; the target's loader finds them.
string(JOIN : ec_libraries ${ec_sysroot}/usr/lib/arm-linux-gnueabihf ${ec_sysroot}/lib/arm-linux-gnueabihf)
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${ec_libraries})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_SKIP_RPATH ON)
