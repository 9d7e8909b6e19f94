#!/usr/bin/env bash
# The public header and the shared library must agree: every function the
# header declares is exported, and the library exports nothing else.
set -euo pipefail
header=$1 lib=$2
declared=$(grep -oE '^MX_EXPORT [^(]*\b(MXL?_[A-Za-z0-9_]+)\(' "$header" | grep -oE 'MXL?_[A-Za-z0-9_]+\($' | tr -d '(' | sort -u)
exported=$(nm -D --defined-only "$lib" | awk '$2 == "T" {print $3}' | sort -u)
missing=$(comm -23 <(echo "$declared") <(echo "$exported"))
extra=$(comm -13 <(echo "$declared") <(echo "$exported"))
[ -z "$missing" ] || { echo "declared but not exported:"; echo "$missing"; }
[ -z "$extra" ] || { echo "exported but not declared:"; echo "$extra"; }
[ -z "$missing$extra" ] && echo "header and library agree on $(echo "$declared" | wc -l) functions"
[ -z "$missing$extra" ]
