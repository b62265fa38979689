# The times of bench_compare as a picture, round trips on the left and the stream on the right, both axes
# logarithmic: awk -f plot.awk compare.csv >performance.svg

function log10(value) { return log(value) / log(10) }
function floor(value,   whole) { whole = int(value); return whole > value ? whole - 1 : whole }

function name(size) {
    if (size >= 1048576) return size / 1048576 " MiB"
    return size >= 1024 ? size / 1024 " KiB" : size " B"
}

function x(panel, size) { return left[panel] + width * (log(size) - log(smallest)) / (log(biggest) - log(smallest)) }
function y(panel, time) { return top + height * (1 - (log10(time) - low[panel]) / (high[panel] - low[panel])) }

function say(px, py, class, anchor, what) {
    printf "<text x=\"%.1f\" y=\"%.1f\" class=\"%s\" text-anchor=\"%s\">%s</text>\n", px, py, class, anchor, what
}

function rule(x1, y1, x2, y2) {
    printf "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"grid\"/>\n", x1, y1, x2, y2
}

function axes(panel,   d, s, m, label) {
    say(left[panel], top - 14, "title", "start", heading[panel])
    for (d = low[panel]; d <= high[panel]; ++d) {
        rule(left[panel], y(panel, 10 ^ d), left[panel] + width, y(panel, 10 ^ d))
        say(left[panel] - 8, y(panel, 10 ^ d) + 4, "tick", "end", (d < 3 ? 10 ^ d " µs" : 10 ^ (d - 3) " ms"))
    }
    for (s = 1; s <= sizes; ++s) {
        rule(x(panel, size[s]), top + height, x(panel, size[s]), top + height + 5)
        say(x(panel, size[s]), top + height + 20, "tick", "middle", name(size[s]))
    }
}

function curve(panel, c,   s, points) {
    for (s = 1; s <= sizes; ++s) points = points sprintf("%.1f,%.1f ", x(panel, size[s]), y(panel, time[panel, size[s], c]))
    printf "<polyline points=\"%s\" class=\"curve c%d\"/>\n", points, c
    for (s = 1; s <= sizes; ++s)
        printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3.2\" class=\"dot c%d\"/>\n", x(panel, size[s]), y(panel, time[panel, size[s], c]), c
}

BEGIN {
    FS = ","
    width = 330; height = 270; top = 74
    left[1] = 70; left[2] = 480
    heading[1] = "Round trip"; heading[2] = "One-way stream, time a message"
    title["library"] = "skylark_io"; title["plain"] = "plain sockets"; title["joined"] = "plain, one segment"
    title["zeromq"] = "ZeroMQ"; title["zeromqrouter"] = "ZeroMQ router"; title["nng"] = "nng"; title["nngaio"] = "nng aio"
    colours = split("#e4572e #8a8f98 #b58900 #2a9d5c #3d7dd8 #9b5de5 #00a6a6", colour, " ")
}
NR == 1 || $2 != "time" { next }
{
    panel = $1 == "stream" ? 2 : 1
    if (!($4 in column)) { column[$4] = ++contenders; shown[contenders] = $4 in title ? title[$4] : $4 }
    if (!($3 in seen)) { seen[$3] = 1; size[++sizes] = $3 }
    if (smallest == 0 || $3 + 0 < smallest) smallest = $3 + 0
    if ($3 + 0 > biggest) biggest = $3 + 0
    time[panel, $3, column[$4]] = $5
    if (!(panel in least) || $5 + 0 < least[panel]) least[panel] = $5 + 0
    if ($5 + 0 > most[panel]) most[panel] = $5 + 0
}
END {
    print "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 840 400\" font-family=\"system-ui, sans-serif\">"
    print "<title>Time of a round trip and of a message of a stream, by size</title>"
    print "<style>.title{font-size:14px;font-weight:600}.tick,.key{font-size:12px}text{fill:#3b3f46}.grid{stroke:#8a8f98;stroke-opacity:.35}"
    print ".curve{fill:none;stroke-width:2;stroke-linejoin:round}.dot{stroke:none}"
    for (c = 1; c <= contenders; ++c) printf ".curve.c%d{stroke:%s}.dot.c%d{fill:%s}\n", c, colour[(c - 1) % colours + 1], c, colour[(c - 1) % colours + 1]
    print ".curve.c1{stroke-width:3}@media (prefers-color-scheme:dark){text{fill:#d7dae0}}</style>"
    for (panel = 1; panel <= 2; ++panel) {
        low[panel] = floor(log10(least[panel])); high[panel] = -floor(-log10(most[panel]))
        axes(panel)
        for (c = contenders; c >= 1; --c) curve(panel, c) # the first on top
    }
    keyX = 20
    for (c = 1; c <= contenders; ++c) {
        printf "<polyline points=\"%d,20 %d,20\" class=\"curve c%d\"/><circle cx=\"%d\" cy=\"20\" r=\"3.2\" class=\"dot c%d\"/>\n", keyX, keyX + 22, c, keyX + 11, c
        say(keyX + 28, 24, "key", "start", shown[c])
        keyX += 28 + 7.2 * length(shown[c]) + 18
    }
    say(left[1] + width / 2, top + height + 42, "tick", "middle", "payload of a message")
    say(left[2] + width / 2, top + height + 42, "tick", "middle", "payload of a message")
    print "</svg>"
}
