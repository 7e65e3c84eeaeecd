#!/usr/bin/env bash
# Runs a program under valgrind's memcheck, failing (exit 99) on any memory error or leak of
# memory no longer reachable. `make valgrind` runs every test this way; the program tests
# start the qobase binary through this script as well (QOBASE_TEST_UNDER_VALGRIND).
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export QOBASE_TEST_UNDER_VALGRIND="$here/run-under-valgrind.sh"
exec valgrind --quiet --vgdb=no --error-exitcode=99 --leak-check=full \
  --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
  --track-origins=yes --suppressions="$here/valgrind.supp" "$@"
