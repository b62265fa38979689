# Google Benchmark's JSON to lines of suite,name,median,unit,ratio,of: awk -v suite=NAME -f results.awk FILE.
# Of repeated runs the median is taken, of a single one the run itself. The counters tell what the ratio is.

function text(line) { sub(/^[^:]*: "?/, "", line); sub(/"?,?$/, "", line); return line }

function bytes(size) {
    size += 0
    if (size >= 1048576) return size / 1048576 " MiB"
    return size >= 1024 ? size / 1024 " KiB" : size " bytes"
}

function row(name, median, unit, ratio, of) {
    printf "%s,%s,%.4g,%s,%s,%s\n", suite, name, median, unit, ratio == "" ? "" : sprintf("%.3f", ratio), of
}

function report(   name, part) {
    if (v["aggregate_name"] != "median" && v["run_type"] != "iteration") return
    if (v["allocations"] > allocations) allocations = v["allocations"]
    name = v["run_name"]
    gsub(/\/(manual_time|real_time|iterations:[0-9]+|repeats:[0-9]+)/, "", name)
    if (split(name, part, "/") > 1 && part[2] ~ /^[0-9]+$/) name = part[1] " " bytes(part[2])
    gsub(/_/, " ", name)
    if ("error_message" in v) { row(name ": " v["error_message"], 0, "-"); return }
    if ("speed share" in v) row(name, v["library us"], "us a message", v["speed share"], "plain sockets' speed")
    else if ("cost %" in v) row(name, v["proxied us"], "us a message", 1 + v["cost %"] / 100, "straight")
    else if ("fixed_ms" in v) row(name, v["real_time"], v["time_unit"], v["real_time"] / v["fixed_ms"], "the fixed waits")
    else if ("of the part's time" in v) row(name, v["real_time"], v["time_unit"], v["of the part's time"], "the part's own time")
    else row(name, v["real_time"], v["time_unit"])
}

/"benchmarks": \[/ { inside = 1; next }
!inside { next }
/^ *\{/ { split("", v); next }
/^ *\}/ { if ("run_name" in v) report(); split("", v); next }
/": / { key = $0; sub(/^ *"/, "", key); sub(/":.*/, "", key); v[key] = text($0) }
END { if (suite == "messages") row("a run of thousands of messages", allocations, "allocations") }
