#!/usr/bin/env bash
# The service for web pages at its socket, and its page in Chromium. Installs
# what they need.
set -euo pipefail
cd "$(dirname "$0")/../.."
readonly python=/usr/bin/python3

scripts/install-deps.sh web
cmake --preset release -DMV_WERROR=ON >/dev/null
cmake --build --preset release -- --quiet mvfp-web mvfp-vreader cx_capdlg
for test in service browser; do
  tests/support/in_own_world.sh $python -B "tests/web/${test}_test.py"
done
