#!/usr/bin/env bash
# run_paths.sh FOLDER: fails unless every program in FOLDER/bin and every shared object in FOLDER/lib looks for its
# libraries in the ../lib beside it and nowhere else. An empty component would be the working directory.
set -euo pipefail

checked=0 wrong=0
for file in "$1"/bin/* "$1"/lib/*.so*; do
    if [[ -L $file ]] || ! readelf --file-header "$file" >/dev/null 2>&1; then
        continue
    fi
    run_path=$(readelf --dynamic "$file" | sed -n 's/.*(\(RPATH\|RUNPATH\)).*\[\(.*\)\]$/\2/p')
    checked=$((checked + 1))
    # shellcheck disable=SC2016 # the loader expands it
    if [[ $run_path != '$ORIGIN/../lib' ]]; then
        echo "$file has the run path '$run_path'" >&2
        wrong=1
    fi
done
# The program and its four libraries at least.
((checked >= 5)) || { echo "only $checked binaries in $1" >&2; exit 1; }
exit "$wrong"
