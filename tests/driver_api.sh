#!/usr/bin/env bash
# The driver keeps to what Qt 4.8 has too, and to what survives its own unloading. Usage: driver_api.sh SOURCE_DIR
set -euo pipefail
cd "$1"

files=(driver/*.h driver/*.cpp varlist/*.h varlist/*.cpp frames/*.h frames/*.cpp image/*.h image/*.cpp)
# Literals in the library's own memory would dangle after dlclose; the rest came with Qt 5.
forbidden='QStringLiteral|QByteArrayLiteral|fromRawData|qAsConst|constFirst|constLast|qEnvironment|QStringView'
forbidden+='|QRandomGenerator|QBasicMutex|QRecursiveMutex|qUtf16Printable|Q_NULLPTR|\.isSharedWith|qHashBits|QJson'
forbidden+='|QLoggingCategory|makeShared'
# No thread, timer, file, log or exception of the driver's own.
forbidden+='|QThread|QTimer|QFile|QDebug|qDebug|qWarning|std::thread|std::cout|std::cerr|printf|\bthrow\b|\btry\b|fopen'
found=0
grep -n -E "$forbidden" "${files[@]}" || found=$?
if [ "$found" -ne 1 ]; then
  echo "the lines above use what the driver must not use, or a file was not read"
  exit 1
fi
echo "${#files[@]} files use nothing that they must not"
