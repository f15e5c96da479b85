#!/bin/sh
# Installs the Debian packages the build, the tests and the tools need, only
# those that are missing, so a second run costs nothing.
set -eu
packages="cmake ninja-build g++ clang lld pkg-config libgtest-dev libgmock-dev
libbenchmark-dev libcli11-dev libffi-dev zlib1g-dev nlohmann-json3-dev python3 python3-dev python3-pytest pybind11-dev python3-olefile libgsf-bin libapache-poi-java openjdk-17-jdk-headless
libreoffice-writer-nogui"
missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done
[ -z "$missing" ] && exit 0
echo "installing:$missing"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# shellcheck disable=SC2086
$SUDO apt-get install -y -qq --no-install-recommends $missing
