# SPDX-License-Identifier: MIT
# Turns the JSON output of okt_bench into the tables of docs/performance.md. The output has one key a line; what counts are the
# medians of the repetitions.

function text_of(line) {
    sub(/^[^:]*: *"/, "", line)
    sub(/",? *$/, "", line)
    return line
}

function number_of(line) {
    sub(/^.*: */, "", line)
    sub(/,? *$/, "", line)
    return line + 0
}

# Two significant digits are what a second run bears out.
function rounded(value) {
    if (value >= 10)
        return sprintf("%.0f", value)
    if (value >= 1)
        return sprintf("%.1f", value)
    if (value >= 0.005)
        return sprintf("%.2f", value)
    return "0"
}

# 10000 as 10,000
function grouped(value,    head) {
    head = ""
    while (length(value) > 3) {
        head = "," substr(value, length(value) - 2) head
        value = substr(value, 1, length(value) - 3)
    }
    return value head
}

/^ *"num_cpus":/ { cores = number_of($0) }
/^ *"okt_compiler":/ { compiler = text_of($0) }
/^ *"okt_build":/ { build = text_of($0) }
/^ *"error_occurred": true/ { failed = 1 }
/^ *"run_name":/ { run = text_of($0) }
/^ *"aggregate_name":/ { aggregate = text_of($0) }
/^ *"repetitions":/ { repetitions = number_of($0) }
/^ *"(allocations_per_object|ns_per_object|bytes_per_object|bytes_per_second|times_memcpy|times_copy|gigabytes_per_second|peer_gigabytes_per_second)":/ {
    if (aggregate == "median") {
        if (!(run in seen)) {
            seen[run] = 1
            runs[++count] = run
        }
        key = $1
        gsub(/[":]/, "", key)
        value[run, key] = number_of($0)
    }
}

END {
    if (failed || count == 0 || build != "optimised") {
        print "no figures of an optimised build without an error" > "/dev/stderr"
        exit 1
    }
    printf "%d cores, %s, %s; each figure is the median of %d runs.\n\n", cores, compiler, build, repetitions
    print "| Operation | Objects | Times `memcpy` | Times a fresh copy | Per object, times that of 10,000 | Allocations per object | ns per object | MB/s | Bytes per object |"
    print "|---|--:|--:|--:|--:|--:|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        if (!((run, "times_memcpy") in value) || (run, "gigabytes_per_second") in value)
            continue
        parts = split(run, part, "/")
        objects = part[2] ~ /^[0-9]+$/ ? part[2] : ""
        base = part[1] "/10000/manual_time"
        growth = ""
        if (objects != "" && objects != 10000 && (base in seen))
            growth = rounded(value[run, "ns_per_object"] / value[base, "ns_per_object"])
        printf "| %s | %s | %s | %s | %s | %s | %s | %.0f | %.0f |\n", part[1], grouped(objects),
            rounded(value[run, "times_memcpy"]), rounded(value[run, "times_copy"]), growth,
            rounded(value[run, "allocations_per_object"]), rounded(value[run, "ns_per_object"]),
            value[run, "bytes_per_second"] / 1e6, value[run, "bytes_per_object"]
    }
    print ""
    print "| Member | Times an integer | Allocations | ns | Bytes |"
    print "|---|--:|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        if ((run, "times_memcpy") in value)
            continue
        split(run, part, "/")
        direction = part[1]
        sub(/,.*/, "", direction)
        base = direction ", integer/manual_time"
        printf "| %s | %s | %s | %s | %.0f |\n", part[1], rounded(value[run, "ns_per_object"] / value[base, "ns_per_object"]),
            rounded(value[run, "allocations_per_object"]), rounded(value[run, "ns_per_object"]), value[run, "bytes_per_object"]
    }
    print ""
    print "| Coding | GB/s | GB/s of OpenSSL | Times `memcpy` |"
    print "|---|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        if (!((run, "gigabytes_per_second") in value))
            continue
        split(run, part, "/")
        peer = value[run, "peer_gigabytes_per_second"]
        printf "| %s | %s | %s | %s |\n", part[1], rounded(value[run, "gigabytes_per_second"]), (peer > 0 ? rounded(peer) : ""),
            rounded(value[run, "times_memcpy"])
    }
}
