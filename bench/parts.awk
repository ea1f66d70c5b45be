# SPDX-License-Identifier: MIT
# Turns the JSON output of okt_bench into the tables of clones and of partial reading in docs/performance.md. The output has one
# key a line; what counts are the medians of the repetitions.

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
/^ *"(clone|part)_[a-z_]+":/ {
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
        print "no figures without an error" > "/dev/stderr"
        exit 1
    }
    print "| Objects | Clone, ns per object | Clone with new ids, ns per object | Times a plain clone |"
    print "|--:|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        if (!((run, "clone_ratio") in value))
            continue
        split(run, part, "/")
        printf "| %s | %s | %s | %.1f |\n", grouped(part[2]), grouped(value[run, "clone_plain_ns"]),
            grouped(value[run, "clone_translated_ns"]), value[run, "clone_ratio"]
    }
    print ""
    print "| Read | Bytes of the file | Bytes read | Calls that read | Microseconds |"
    print "|---|--:|--:|--:|--:|"
    for (i = 1; i <= count; ++i) {
        run = runs[i]
        if (!((run, "part_ns") in value))
            continue
        split(run, part, "/")
        printf "| %s | %s | %s | %s | %.0f |\n", part[1], grouped(value[run, "part_file_bytes"]),
            grouped(value[run, "part_bytes_read"]), grouped(value[run, "part_read_calls"]), value[run, "part_ns"] / 1000
    }
}
