#!/usr/bin/env bash
# The library shows exactly these names in its dynamic symbol table. Usage: exported_names.sh LIBRARY
set -euo pipefail

expected=$(sort <<'NAMES'
ASCIIToDigital
AddListOnceReadVar
AddListReadVar
AddListWriteVar
CalCRC
CalLRC
CalSUM
CalXOR
ComCommunication
DataCom
DigitalToASCII
EnCommStation
FlashLocalRegister
GetRegisterData
LB
LW
PLCAddressChangeIntef
PLC_driver
QueryFinishFlag
RWI
ReCreatReadVarList
RegistCallBackFuncIntf
SetComInfo
SetRegisterData
NAMES
)
actual=$(nm -D --defined-only "$1" | awk '{print $3}' | sort)
if [ "$actual" != "$expected" ]; then
  echo "$1 does not export what it should (< missing, > too much):"
  diff <(echo "$expected") <(echo "$actual") || true
  exit 1
fi
echo "$1 exports its $(echo "$actual" | wc -l) names and nothing else"

# A unique symbol would keep the library in memory after dlclose.
if nm "$1" | awk '$2 == "u"' | grep .; then
  echo "$1 has unique symbols"
  exit 1
fi

dynamic=$(readelf -d -W "$1")
needed=$(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
echo "needs: "$needed
if echo "$needed" | grep -v -E '^(libQt5Core\.so\.5|libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux-armhf\.so\.3|lib(a|ub)san\.so\.[0-9]+)$'; then
  echo "$1 needs more than Qt 5 Core and the C++ runtime"
  exit 1
fi
for flag in SYMBOLIC BIND_NOW; do
  grep -q "$flag" <<<"$dynamic" || { echo "$1 is not linked with $flag"; exit 1; }
done
readelf -l -W "$1" | grep GNU_RELRO >/dev/null || { echo "$1 has no read-only relocations"; exit 1; }
nm -D --undefined-only "$1" | grep __stack_chk_fail >/dev/null || { echo "$1 has no stack protector"; exit 1; }
