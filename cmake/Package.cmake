# Debian packages of what is installed: `cpack` in a build folder of the presets package and package-armhf, or
# scripts/package for all of it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME emerson-ec-series)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Emerson EC series driver")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
# Installed files know their prefix: they must not see a passing folder in its place.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Whoever makes packages for others puts their own name in, as for every Debian package.
set(CPACK_PACKAGE_CONTACT "Emerson EC series driver maintainers <maintainers@ec-series.example>")
if(DEFINED ENV{DEBEMAIL} AND DEFINED ENV{DEBFULLNAME})
  set(CPACK_PACKAGE_CONTACT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(same_version "(= ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# What the libraries come from is asked of the system, which knows nothing of those of another architecture: there
# scripts/package finds it out.
set(needs_libraries ON)
if(CMAKE_CROSSCOMPILING)
  set(needs_libraries OFF)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${EC_DEBIAN_ARCHITECTURE})
endif()

# ec_package(COMPONENT NAME SECTION SYNOPSIS TEXT): what the Debian package of a component says of itself.
set(CPACK_COMPONENTS_ALL "")
macro(ec_package component name section synopsis text)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${synopsis}\n${text}")
  install(FILES ${made}/changelog.Debian.gz DESTINATION ${docs}/${name} COMPONENT ${component})
endmacro()

ec_package(driver emerson-ec-series libs "communication driver for Emerson EC-series PLCs"
  "A plug-in for the runtime of an operator panel. It builds Modbus RTU requests
or frames of a remote format, checks the replies, keeps an image of the PLC's
data and queues writes. It starts no thread and opens no port.")
set(CPACK_DEBIAN_DRIVER_PACKAGE_SHLIBDEPS ${needs_libraries})

ec_package(dev emerson-ec-series-dev libdevel "communication driver for Emerson EC-series PLCs - development files"
  "The headers of the driver, its CMake package and pkg-config file, its manual,
and examples of programs that load it.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "emerson-ec-series ${same_version}, qtbase5-dev")

if(EC_BUILD_TOOLS)
  ec_package(tools emerson-ec-series-tools utils "command-line host and simulated PLC of the EC-series driver"
    "ecpanel reads and writes the variables of PLCs on a serial line through the
driver, and tells how good every value is and what became of every write.
ecsim is a simulated PLC with faults on demand.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "emerson-ec-series ${same_version}")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ${needs_libraries})
endif()

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${packaging}/changelog.Debian.in ${made}/changelog.Debian @ONLY)
add_custom_command(OUTPUT ${made}/changelog.Debian.gz
  COMMAND ${EC_GZIP} -9nc ${made}/changelog.Debian > ${made}/changelog.Debian.gz
  DEPENDS ${made}/changelog.Debian VERBATIM)
add_custom_target(changelog_debian ALL DEPENDS ${made}/changelog.Debian.gz)

include(CPack)
