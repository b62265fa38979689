# The lines of bench_compare as tables, a column a contender: awk [-v markdown=1] -f comparison.awk compare.csv
# In each cell the median, and in parentheses its multiple of the first contender's, turn by turn.

function bytes(size) {
    if (size >= 1048576) return size / 1048576 " MiB"
    return size >= 1024 ? size / 1024 " KiB" : size " bytes"
}

function figure(value) { return value < 10 ? sprintf("%.2f", value) : value < 100 ? sprintf("%.1f", value) : sprintf("%.0f", value) }

function line(first, cells,   i, out) {
    out = markdown ? "| " first " |" : sprintf("%-24s", first)
    for (i = 1; i <= contenders; ++i) out = out (markdown ? " " cells[i] " |" : sprintf(" %16s", cells[i]))
    print out
}

function table(quantity, title,   i, c, cells, key) {
    printf "%s%s\n%s", first++ ? "\n" : "", title, markdown ? "\n" : ""
    line("", shown)
    if (markdown) { printf "|---|"; for (i = 1; i <= contenders; ++i) printf "---|"; print "" }
    for (i = 1; i <= courses; ++i) {
        if (quantity ~ /memory/ && i != courses) continue
        for (c = 1; c <= contenders; ++c) {
            key = course[i] "," quantity "," c
            cells[c] = figure(value[key]) (c == 1 ? "" : sprintf(" (%.2f)", ratio[key]))
        }
        line(quantity ~ /memory/ ? "both ends" : label[i], cells)
    }
}

BEGIN {
    FS = ","
    title["library"] = "skylark_io"; title["plain"] = "sockets"; title["joined"] = "one segment"
    title["zeromq"] = "ZeroMQ"; title["zeromqrouter"] = "ZeroMQ router"; title["nng"] = "nng"; title["nngaio"] = "nng aio"
}
NR == 1 { next }
{
    if (!($4 in column)) { column[$4] = ++contenders; shown[contenders] = $4 in title ? title[$4] : $4 }
    if (!(($1 "," $3) in known)) { known[$1 "," $3] = 1; course[++courses] = $1 "," $3; label[courses] = $1 ", " bytes($3) }
    value[$1 "," $3 "," $2 "," column[$4]] = $5
    ratio[$1 "," $3 "," $2 "," column[$4]] = $6
}
END {
    # The round trips first.
    for (i = 1; i <= courses; ++i) if (course[i] ~ /^round/) order[++n] = i
    for (i = 1; i <= courses; ++i) if (course[i] !~ /^round/) order[++n] = i
    for (i = 1; i <= n; ++i) { sorted[i] = course[order[i]]; sortedLabel[i] = label[order[i]] }
    for (i = 1; i <= n; ++i) { course[i] = sorted[i]; label[i] = sortedLabel[i] }
    table("time", "Time of a round trip, or of a message of the stream, in µs:")
    table("processor time", "Processor time of both ends for it, in µs:")
    table("peak memory so far", "Largest resident memory of both ends' processes together, in KiB:")
}
