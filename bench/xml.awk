# SPDX-License-Identifier: MIT
# Turns the JSON output of okt_bench into the tables of XML documents in docs/performance.md. The output has one key a line; what
# counts are the medians of the repetitions.

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
    value = sprintf("%.0f", value)
    head = ""
    while (length(value) > 3) {
        head = "," substr(value, length(value) - 2) head
        value = substr(value, 1, length(value) - 3)
    }
    return value head
}

/^ *"run_name":/ { run = text_of($0) }
/^ *"aggregate_name":/ { aggregate = text_of($0) }
/^ *"error_occurred": true/ { failed = 1 }
/^ *"xml_[a-z_]+":/ {
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
    if (failed || count == 0) {
        print "no figures of XML documents without an error" > "/dev/stderr"
        exit 1
    }
    print "| Operation | Values or objects | ns each | Each, times that of 1,000 | libxml2, ns each | Times libxml2 | Allocations each | Bytes each |"
    print "|---|--:|--:|--:|--:|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        split(run, part, "/")
        sub(/^xml, /, "", part[1])
        base = "xml, " part[1] "/1000/manual_time"
        growth = (base in seen) && base != run ? rounded(value[run, "xml_ns"] / value[base, "xml_ns"]) : ""
        peer = (run, "xml_peer_ns") in value ? grouped(value[run, "xml_peer_ns"]) : ""
        ratio = (run, "xml_peer_ns") in value ? rounded(value[run, "xml_ns"] / value[run, "xml_peer_ns"]) : ""
        bytes = (run, "xml_bytes") in value ? rounded(value[run, "xml_bytes"]) : ""
        printf "| %s | %s | %s | %s | %s | %s | %s | %s |\n", part[1], grouped(part[2]), grouped(value[run, "xml_ns"]), growth, peer, ratio,
            rounded(value[run, "xml_allocations"]), bytes
    }
}
