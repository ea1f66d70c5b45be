# SPDX-License-Identifier: MIT
# The row of one release from the figures of okt_host: awk -v release=10.0.0 -f bench/releases.awk host.md
BEGIN { FS = " *[|] *" }
$3 == "10,000" { first[$2] = $4; later[$2] = $5 }
$3 == "30" && $2 == "open-close" { gsub(",", "", $5); opened = $5 * 30 / 1000 }
END {
    if (later["load"] == "" || first["read-file"] == "" || opened == "") {
        print "the figures of a case are missing" > "/dev/stderr"
        exit 1
    }
    printf "| %s | %s | %s | %s | %s | %s | %.1f |\n", release, later["save-loaded"], later["save-built"], later["load"], \
        first["read-file"], later["write-file"], opened
}
