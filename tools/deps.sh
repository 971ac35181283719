#!/bin/sh
# Installs the Debian packages the build needs, or says which to install.
# Usage: tools/deps.sh [package ...]   (extra packages are added to the base set)
set -e
PKGS="g++ make cmake pkg-config libgtest-dev libeigen3-dev libtiff-dev libhwy-dev libcli11-dev libfast-float-dev help2man $*"
MISSING=""
for p in $PKGS; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        MISSING="$MISSING $p"
    fi
done
[ -z "$MISSING" ] && exit 0
if [ "$(id -u)" = "0" ] && command -v apt-get >/dev/null 2>&1; then
    echo "installing:$MISSING"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q
    apt-get install -y -q --no-install-recommends $MISSING
else
    echo "missing build dependencies; run as root:" >&2
    echo "    apt-get install -y$MISSING" >&2
    exit 1
fi
