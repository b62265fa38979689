# The lines of results.csv as a table: awk [-v markdown=1] -f table.awk results.csv

BEGIN { FS = "," }
NR == 1 { next }
markdown && NR == 2 {
    print "| benchmark | what | median | unit | ratio | of |"
    print "|---|---|---|---|---|---|"
}
markdown { printf "| %s | %s | %s | %s | %s | %s |\n", $1, $2, $3, $4, $5, $6; next }
NR == 2 { printf "%-10s %-32s %10s %-14s %7s %s\n", "benchmark", "what", "median", "unit", "ratio", "of" }
{ printf "%-10s %-32s %10s %-14s %7s %s\n", $1, $2, $3, $4, $5, $6 }
