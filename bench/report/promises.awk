# What the measured figures must keep, whatever the machine does meanwhile: awk -f promises.awk results.csv
# Fails when one of them does not. The times are for people to judge: they depend on what else the machine does.

function check(kept, what) {
    printf "%-6s %s\n", kept ? "kept" : "BROKEN", what
    if (!kept) broken = 1
}

BEGIN { FS = "," }
$4 == "allocations" { allocations = $3; measured = 1 }
$1 == "calls" { calls = $3; ratio = $5; ++counted }
END {
    check(measured && allocations < 100, "messages allocate nothing (" allocations " in a run, the benchmark's own)")
    # Setting up takes a call more or less from one run to the other.
    check(counted && calls > 9.99 && calls < 10.01 && ratio > 0.999 && ratio < 1.001, "a round trip costs ten system calls, as over plain sockets (" calls ")")
    exit broken
}
