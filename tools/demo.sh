#!/bin/sh
# A short showcase of the kvproj tool.
KV=${1:-build/kvproj}
set -e
echo "\$ kvproj --version"; "$KV" --version
