#!/bin/sh
# Prints the first Debian archive that this machine gets its packages from.
set -eu
# shellcheck disable=SC2016  # apt replaces these
apt-get indextargets --format '$(ORIGIN) $(REPO_URI)' |
  sed -n '/^Debian /{s///;p;q}' | grep .
