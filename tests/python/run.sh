#!/usr/bin/env bash
# Runs the tests of the Python package, with the first interpreter that has what they need. Without one it ends with 77,
# which the tests take for left out.
#   tests/python/run.sh BUILD [tests [arguments of pytest...] | cluster | check]    BUILD: of a build for this machine
# `check` only looks for the interpreter.
set -euo pipefail
cd "$(dirname "$0")/../.."

build=$(realpath "$1")
what=${2:-tests}
case "$what" in
tests) needed='numpy, pandas, dask.dataframe, pytest' ;;
cluster) needed='numpy, pandas, dask.dataframe, distributed' ;;
check) needed='numpy, pandas, dask.dataframe, distributed, pytest' ;;
esac

python=
for candidate in ${PYTHON:+"$PYTHON"} python3 /usr/bin/python3; do
    if "$candidate" -c "import $needed" 2>/dev/null; then
        python=$candidate
        break
    fi
done
if [ -z "$python" ]; then
    echo "NOTHING WAS RUN: no Python has $needed. Install them with: script/bootstrap --python" >&2
    exit 77
fi

export ZEL_LIBRARY=$build/lib/libzel.so ZEL_COMMAND=$build/bin/zel PYTHONPATH=$PWD/python PYTHONDONTWRITEBYTECODE=1
unset ZELDATA_IMAGE
case "$what" in
tests) "$python" -m pytest -q -p no:cacheprovider "${@:3}" tests/python ;;
cluster) "$python" examples/day_on_a_cluster.py ;;
esac
