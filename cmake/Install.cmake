# What is installed, in three components that are also the packages: driver, dev and tools.
include(CMakePackageConfigHelpers)

set(packaging ${CMAKE_CURRENT_SOURCE_DIR}/packaging)
set(made ${CMAKE_CURRENT_BINARY_DIR}/packaging)
set(docs ${CMAKE_INSTALL_DATAROOTDIR}/doc)

# The plug-in.
target_include_directories(emerson_ec_series INTERFACE
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/emerson_ec_series>)
target_link_libraries(emerson_ec_series INTERFACE Qt5::Core)
install(TARGETS emerson_ec_series EXPORT emerson_ec_series LIBRARY DESTINATION ${EC_PLUGIN_FOLDER} COMPONENT driver)

# Headers, and how to find it all.
install(FILES driver/checksum.h driver/driver_object.h driver/emerson_ec_series.h driver/export.h driver/records.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/emerson_ec_series/driver COMPONENT dev)
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/emerson_ec_series)
set(plugin_file ${EC_PLUGIN_FOLDER}/libemerson_ec_series.so)
set(include_folder ${CMAKE_INSTALL_INCLUDEDIR}/emerson_ec_series)
configure_package_config_file(${packaging}/emerson_ec_series-config.cmake.in ${made}/emerson_ec_series-config.cmake
  INSTALL_DESTINATION ${cmake_folder} PATH_VARS plugin_file include_folder)
write_basic_package_version_file(${made}/emerson_ec_series-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${made}/emerson_ec_series-config.cmake ${made}/emerson_ec_series-config-version.cmake
  DESTINATION ${cmake_folder} COMPONENT dev)
install(EXPORT emerson_ec_series FILE emerson_ec_series-targets.cmake NAMESPACE emerson_ec_series::
  DESTINATION ${cmake_folder} COMPONENT dev)
# Written while installing: only then the prefix is known.
install(CODE "
  set(PROJECT_VERSION ${PROJECT_VERSION})
  set(CMAKE_INSTALL_LIBDIR ${CMAKE_INSTALL_LIBDIR})
  set(CMAKE_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
  configure_file(${packaging}/emerson_ec_series.pc.in ${made}/emerson_ec_series.pc @ONLY)
  file(INSTALL ${made}/emerson_ec_series.pc DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
  " COMPONENT dev)

# Examples that are programs, and those that are files for the tools.
file(GLOB programs LIST_DIRECTORIES ON RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}/examples examples/*)
foreach(program IN LISTS programs)
  if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/examples/${program})
    install(DIRECTORY examples/${program} DESTINATION ${docs}/emerson-ec-series-dev/examples COMPONENT dev)
  endif()
endforeach()

# The manual; its links to examples hold there, those to what only the sources have do not.
install(DIRECTORY docs DESTINATION ${docs}/emerson-ec-series-dev COMPONENT dev PATTERN site EXCLUDE)

# What every package has.
find_program(EC_GZIP gzip REQUIRED)
add_custom_command(OUTPUT ${made}/changelog.gz
  COMMAND ${EC_GZIP} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md > ${made}/changelog.gz
  DEPENDS CHANGELOG.md VERBATIM)
add_custom_target(changelog ALL DEPENDS ${made}/changelog.gz)
set(packages driver:emerson-ec-series dev:emerson-ec-series-dev)

if(EC_BUILD_TOOLS)
  include(InstallTools)
  list(APPEND packages tools:emerson-ec-series-tools)
endif()
foreach(package IN LISTS packages)
  string(REGEX MATCH "^(.*):(.*)$" package ${package})
  install(FILES ${made}/changelog.gz ${packaging}/copyright
    DESTINATION ${docs}/${CMAKE_MATCH_2} COMPONENT ${CMAKE_MATCH_1})
endforeach()
