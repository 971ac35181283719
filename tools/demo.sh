#!/bin/sh
# A short showcase of the kvproj tool: catalogues, angle text, zones, conversions, datums,
# control-point fits.
KV=${1:-build/kvproj}
set -e
run() {
    echo
    echo "\$ kvproj $*"
    "$KV" "$@" || echo "(exit status $?)"
}
runin() {
    input=$1
    shift
    echo
    echo "\$ echo \"$input\" | kvproj $*"
    printf '%s\n' "$input" | "$KV" "$@"
}
"$KV" --version
run list projections
run list ellipsoids | head -12
run deg "12d30'S"
run dms 45.51234 --lat
run utm -71.06
run zone "Alabama East"
runin "16.5 45.0" convert --fwd --utm 33N
runin "-86.0 32.5    # a point in Alabama" convert --fwd --zone "spcs83:Alabama East"
runin "200000 35000" convert --inv --zone "spcs83:Alabama East"
runin "-105 40" convert --fwd --proj "type=5 lon0=-96 lat0=23 lat1=29.5 lat2=45.5 ellipsoid=47"
run datum "North American Datum 1927"
run check type=5 lat1=30 lat2=30.1 lon0=-96
runin "$(printf '0 0 500000 4000000\n1000 0 502500 3999800\n0 1000 500300 3997500\n1000 1000 502801 3997299')" georef --method affine --precision 3
