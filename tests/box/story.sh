# What every story begins with: makes sure of where it is, and gives it its words.
set -eu
unsafe() { echo "this is no place to run the library of the box: $*" >&2; exit 1; }
[ $$ -eq 1 ] && [ "$(readlink /proc/self/ns/mnt)" != "$OUTSIDE" ] || unsafe "not a namespace of its own"
[ -e /box/this-is-a-simulated-box ] && [ ! -e /old ] && [ ! -e /sbin ] && [ ! -e /usr/sbin ] || unsafe "not a box"
# Of what root may do only to open any file is left, as on the box: of lock files it does not respect the mode.
for set in Inh:.0 Prm:.2 Eff:.2 Bnd:.2 Amb:.0; do
    grep -q "^Cap${set%?}000000000000000${set#*.}\$" /proc/self/status || unsafe "privilege left"
done

export DTC_BOX_ROOT=/decoy TMPDIR=/decoy # which the library of the box must not heed
mkdir /story/out
passed=0
failed=0

# same WHAT WANTED GOT
same() {
    if [ "$2" = "$3" ]; then
        passed=$((passed + 1))
        echo "ok $((passed + failed)) $1"
    else
        failed=$((failed + 1))
        printf 'NOT OK %s %s\n--- wanted\n%s\n--- got\n%s\n---\n' $((passed + failed)) "$1" "$2" "$3"
    fi
}
dtcctl() { PATH=/bin /product/dtcctl "$@"; }
# gives STATUS OUTPUT WORD...: what a command ends with and prints; what it says of errors is in $errors.
gives() {
    wanted="$1: $2"
    shift 2
    status=0
    output=$(dtcctl "$@" 2>/story/out/errors) || status=$?
    errors=$(sed 's/([0-9]*)/(LINE)/' /story/out/errors)
    # The clock runs on.
    output=$(printf '%s' "$output" | sed 's|20[2-9]./../.. ..:..:..|NOW|; s|\(2013/.*:\)[0-9][0-9]|\1SS|')
    same "dtcctl $*" "$wanted" "$status: $output"
}
line() { tr '\n' ' ' | sed 's/ $//'; }
# The lines that a log has gained since the last call; of transfers without time and process.
new() {
    sed 's/^....-..-.. [^ ]* [0-9]* //' "/log/$1.log"
    : >"/log/$1.log"
}
# until_true COMMAND: within ten seconds.
until_true() {
    tries=500
    until eval "$1"; do
        tries=$((tries - 1))
        [ $tries -gt 0 ] || { same "waiting for: $1" true false; return 0; }
        sleep 0.02
    done
}
# serve SERVICE: with its process in $server.
serve() {
    PATH=/bin /product/dtcctl serve --service "$1" >/story/out/served 2>&1 &
    server=$!
    until_true 'grep -q ^serving /story/out/served'
}
interrupt() {
    kill -INT $server
    status=0
    wait $server || status=$?
    same "an interruption ends the server" 0 $status
}
# write_at OFFSET FILE: standard input, over what is there.
write_at() { dd bs=1 seek=$(($1)) of="$2" conv=notrunc 2>/story/out/dd; }
# What holds after each story: nothing kept, nothing redirected, the root file system read-only.
finish() {
    same "no lock is left" "" "$(ls /var/lock)"
    same "the root file system is read-only" ro "$(cat /run/rootfs)"
    same "no variable led the library elsewhere" "" "$(find /decoy 2>/dev/null)"
    echo "$passed passed, $failed failed"
    [ $failed -eq 0 ]
}
