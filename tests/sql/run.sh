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
