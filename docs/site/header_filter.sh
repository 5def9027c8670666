#!/bin/sh
# The first comment of each header is about the file; without a mark Doxygen would give it to what is declared next.
sed '1i /// \\file' "$1"
