# Where things are installed, as the sources have to know it.
include(GNUInstallDirs)

foreach(folder BINDIR LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${folder} is ${CMAKE_INSTALL_${folder}}: expected a folder below the prefix, as "
      "installed files find each other from where they lie.")
  endif()
endforeach()

set(EC_PLUGIN_FOLDER ${CMAKE_INSTALL_LIBDIR}/emerson_ec_series)
# From the programs, so that what was installed can be moved as a whole.
cmake_path(RELATIVE_PATH EC_PLUGIN_FOLDER BASE_DIRECTORY ${CMAKE_INSTALL_BINDIR} OUTPUT_VARIABLE EC_PLUGIN_FROM_TOOLS)
