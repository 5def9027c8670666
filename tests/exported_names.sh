#!/usr/bin/env bash
# The library shows exactly these names in its dynamic symbol table, needs nothing but Qt and the C++ runtime, is
# hardened, and leaves nothing behind when it is unloaded. Usage: exported_names.sh LIBRARY
set -euo pipefail
library=$1
bad=0

# wrong WHAT [DETAILS]: names what is not as it should be, and goes on.
wrong() {
  echo "$library: $1"
  [ $# -eq 1 ] || echo "$2"
  bad=1
}

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
actual=$(nm -D --defined-only "$library" | awk '{print $3}' | sort)
[ "$actual" = "$expected" ] ||
  wrong "does not export what it should (< missing, > too much)" "$(diff <(echo "$expected") <(echo "$actual") || true)"

symbols=$(nm "$library" 2>/dev/null)
[ -n "$symbols" ] || wrong "is stripped, so that nobody can look for unique symbols and literals"
unique=$(awk '$2 == "u"' <<<"$symbols")
[ -z "$unique" ] || wrong "has unique symbols, which keep it in memory after dlclose" "$unique"
literals=$(grep -E 'qstring_literal|ba_literal' <<<"$symbols" || true)
[ -z "$literals" ] || wrong "has literals of Qt in its own memory, which dangle after dlclose" "$literals"

dynamic=$(readelf -d -W "$library")
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
allowed='libQt5Core\.so\.5|libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux-armhf\.so\.3'
if grep -E ' U __(asan_init|ubsan_)' <<<"$symbols" >/dev/null; then allowed+='|lib(a|ub)san\.so\.[0-9]+'; fi
foreign=$(grep -v -E "^($allowed)\$" <<<"$needed" || true)
[ -z "$foreign" ] || wrong "needs more than Qt 5 Core and the C++ runtime" "$foreign"

for flag in SYMBOLIC BIND_NOW; do
  grep "$flag" <<<"$dynamic" >/dev/null || wrong "is not linked with $flag"
done
if grep TEXTREL <<<"$dynamic" >/dev/null; then wrong "has text relocations"; fi
segments=$(readelf -l -W "$library")
grep GNU_RELRO <<<"$segments" >/dev/null || wrong "has no read-only relocations"
grep -E 'GNU_STACK.* RW ' <<<"$segments" >/dev/null || wrong "may execute its stack"
imports=$(nm -D --undefined-only "$library")
grep __stack_chk_fail <<<"$imports" >/dev/null || wrong "has no stack protector"

[ "$bad" -eq 0 ] || exit 1
echo "$library: $(wc -l <<<"$actual") exports and nothing else; hardened; needs ${needed//$'\n'/ }"
