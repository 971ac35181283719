#!/bin/sh
# A short tour of the kvproj tool. Every command is printed as it can be pasted
# into a shell at the top of the source tree (words quoted where they need it),
# followed by a line naming its output columns, then run.
#   sh tools/demo.sh [PATH_TO_KVPROJ]
set -eu
kv=${1:-build/kvproj}
[ -x "$kv" ] || { echo "demo: no kvproj at $kv (run make demo)" >&2; exit 1; }
bindir=$(cd "$(dirname "$kv")" && pwd)
cd "$(dirname "$0")/.."
PATH=$bindir:$PATH # the "kvproj" printed is the one that runs
export PATH

# One shell word for $1: as it is when it holds only safe characters.
quote() {
    case $1 in
    '' | *[!A-Za-z0-9_./:=,+@%-]*) printf "'%s'" "$(printf '%s' "$1" | sed "s/'/'\\\\''/g")" ;;
    *) printf '%s' "$1" ;;
    esac
}
words() {
    line=
    for w in "$@"; do line="$line${line:+ }$(quote "$w")"; done
    printf '%s' "$line"
}
section() { printf '\n== %s\n' "$1"; }
columns() { printf '# %s\n' "$1"; }
status() { echo "(exit status $1)"; }

# run "COLUMNS" ARGS...: kvproj ARGS
run() {
    label=$1
    shift
    printf '\n$ kvproj %s\n' "$(words "$@")"
    [ -z "$label" ] || columns "$label"
    kvproj "$@" || status $?
}

# feed "COLUMNS" LINE... -- ARGS...: the lines on standard input of kvproj ARGS
feed() {
    label=$1
    shift
    lines=
    while [ "$1" != "--" ]; do
        lines="$lines $(quote "$1")"
        shift
    done
    shift
    printf "\n\$ printf '%%s\\\\n'%s | kvproj %s\n" "$lines" "$(words "$@")"
    [ -z "$label" ] || columns "$label"
    input=$(printf '%s' "$lines" | sed 's/^ //')
    eval "printf '%s\\n' $input" | kvproj "$@" || status $?
}

kvproj --version

section "Catalogues"
run "type, name, capability word, parameters" list projections conic
run "value, name, semi-major axis (m), inverse flattening, EPSG code" list ellipsoids clarke
run "" utm -71.06

section "State plane: the zone, and a point there"
run "" zone "Alabama East"
feed "easting northing (m), then the rest of the line" "-86.0 32.5 station A" -- \
    convert --fwd --zone "spcs83:Alabama East"
feed "longitude latitude (degrees)" "200000 35000" -- convert --inv --zone "spcs83:Alabama East"

section "A projection typed in"
feed "easting northing (m)" "-105 40" "-80 35" -- \
    convert --fwd --proj "type=lcc lon0=-96 lat0=23 lat1=29.5 lat2=45.5 ellipsoid=WGS84"
run "" check type=lcc lat1=30 lat2=30.1 lon0=-96

section "Datum shift: NAD 27 to WGS 84 (Molodensky)"
feed "longitude latitude (degrees) on WGS 84" "-86.0 32.5" "-120.0 45.0" -- \
    convert --src-datum NAD27 --dst-datum WGS84
feed "easting northing (m): Alabama East on NAD 27 to UTM 16N on WGS 84" \
    "136651.732 166310.556" -- \
    convert --src-zone spcs27:101 --src-datum NAD27 --dst-datum WGS84 --dst-utm 16N

section "Grid shift: DHDN to ETRS89 through an NTv2 grid (a small clip in tests/data)"
grid=tests/data/dhdn_beta2007_clip.gsb
run "sub-grid, parent, extent (degrees), spacing (seconds), size" grid info "$grid"
feed "longitude latitude (degrees) on ETRS89" "9.0 48.8" "9.5 49.2" -- \
    convert --grid "$grid"

section "A graticule picture"
svg=${TMPDIR:-/tmp}/kvproj-demo-mollweide.svg
printf '\n$ kvproj %s\n' "$(words graticule --proj "type=moll ellipsoid=WGS84" --step 30 -o "$svg")"
kvproj graticule --proj "type=moll ellipsoid=WGS84" --step 30 -o "$svg" || status $?
[ -s "$svg" ] && echo "picture: $svg ($(wc -c <"$svg") bytes of SVG; open it in a browser)"

section "Fitting a georeference to four control points"
feed "method, coefficients, residuals per control (pixel x y, map x y, dx dy, error)" \
    "0 0 500000 4000000" "1000 0 502500 3999800" "0 1000 500300 3997500" \
    "1000 1000 502801 3997299" -- georef --method affine --precision 3
