#!/usr/bin/env bash
# The functions for SQLite and PostgreSQL, what documents say of them, and a
# table that is spread over several servers. Installs what they need.
#
#   tests/sql/run.sh [RECORDS]    so many (20000) are spread
set -euo pipefail
cd "$(dirname "$0")/../.."
readonly build=build/release python=/usr/bin/python3

scripts/install-deps.sh sql
cmake --preset release -DMV_WERROR=ON >/dev/null
cmake --build --preset release -- --quiet

scripts/with-postgresql.sh "$build" $python tests/sql/functions_test.py
scripts/with-postgresql.sh "$build" scripts/scale-out.sh "${1:-20000}"

# With a server of their own; elsewhere the samples that need one are left out,
# lest they change a developer's database.
installed=$PWD/$build/tests/docs/installed
ctest --preset release -R '^docs\.install$' --quiet
for document in docs/sql.md docs/scale-out.md; do
  MV_INSTALLED=$installed MV_BUILD_DIR=$PWD/$build CC=cc CXX=c++ \
    PYTHONPATH=$PWD/python \
    PYTHONDONTWRITEBYTECODE=1 PYTHONIOENCODING=utf-8 \
    tests/support/in_own_world.sh scripts/with-postgresql.sh "$build" \
    $python tests/docs/run_samples.py "$document" | tee "$build/samples.log"
  if grep -E 'skipped, for this fails: (test|sqlite3)' \
    "$build/samples.log"; then exit 1; fi
done
