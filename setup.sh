#!/usr/bin/env bash
# The first command on a fresh Debian 12 machine, as root: installs every
# Debian package the build and the tests need (make, cmake and the compilers
# included), builds with warnings as errors and runs every test. Afterwards
# `make run` starts the agent. Running it again installs nothing new and only
# rebuilds what changed.
set -euo pipefail
cd "$(dirname "$0")"
if [ "$(id -u)" -ne 0 ]; then
  echo "setup.sh: run as root (it installs Debian packages and the tests make network namespaces)" >&2
  exit 1
fi
bash tools/install-deps.sh
exec make test
