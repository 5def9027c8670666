#!/usr/bin/env bash
# The driver keeps to what Qt 4.8 has too, and to what survives its own unloading. Usage: driver_api.sh SOURCE_DIR
set -euo pipefail
cd "$1"

files=(driver/*.h driver/*.cpp varlist/*.h varlist/*.cpp frames/*.h frames/*.cpp image/*.h image/*.cpp)
# Literals in the library's own memory would dangle after dlclose; the rest came with Qt 5.
forbidden='QStringLiteral|QByteArrayLiteral|fromRawData|qAsConst|constFirst|constLast|qEnvironment|QStringView|QRandomGenerator'
forbidden+='|QBasicMutex|QRecursiveMutex|qUtf16Printable|Q_NULLPTR|\.isSharedWith|qHashBits|QJson|QLoggingCategory|makeShared'
# No thread, timer, file, log or exception of the driver's own.
forbidden+='|QThread|QTimer|QFile|QDebug|qDebug|qWarning|std::thread|std::cout|std::cerr|printf|\bthrow\b|\btry\b|fopen'
if grep -n -E "$forbidden" "${files[@]}"; then
  echo "the lines above use what the driver must not use"
  exit 1
fi
echo "${#files[@]} files use nothing that they must not"
