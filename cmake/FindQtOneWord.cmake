# The records fix a QString or QByteArray as one pointer-sized word. That holds for Qt 4 and 5; in Qt 6 both are three
# words, so a driver built with it would misread every record of its host.
set(qt6_reason "Qt 6 cannot be used: its QString and QByteArray are three words wide, and the records that cross the "
    "driver's interface need one. Install Qt 5 Core (Debian: qtbase5-dev).")
string(CONCAT qt6_reason ${qt6_reason})

if(DEFINED QT_DEFAULT_MAJOR_VERSION AND NOT QT_DEFAULT_MAJOR_VERSION EQUAL 5)
  message(FATAL_ERROR "${qt6_reason}")
endif()
find_package(Qt5Core 5.9 QUIET)
if(NOT Qt5Core_FOUND)
  find_package(Qt6Core QUIET)
  if(Qt6Core_FOUND)
    message(FATAL_ERROR "${qt6_reason}")
  endif()
  message(FATAL_ERROR "Qt 5 Core was not found. Install it (Debian: qtbase5-dev) or run scripts/setup.")
endif()
