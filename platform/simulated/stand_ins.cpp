#include "platform/simulated/box_files.h"

#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

/// A shell script of the box. $DTC_BOX is the box's directory. State: run/rootfs (ro, rw),
/// run/network (down, up), run/clock-offset (seconds ahead of the desk's clock), flash/mtdN (a raw
/// partition) and flash/mtdN.d (one with files).
struct Script
{
    char const* path; ///< under the box's directory
    char const* body;
};

/// In front of each script: state is replaced as a whole, and the desk's clock can only be read.
constexpr char const* shared =
    R"sh(put() { echo "$2" > "$DTC_BOX/run/$1.$$" && mv "$DTC_BOX/run/$1.$$" "$DTC_BOX/run/$1"; }
desk() { tool=$1; shift; "$DTC_BOX/tools/$tool" "$@"; }
desk_date() { desk date -u "$@"; }
)sh";

constexpr Script scripts[] = {
    {"bin/mount",
     R"sh(# mount: remounts the root file system, or shows a flash partition at a directory.
options= type= device= place=
while [ $# -gt 0 ]; do
    case $1 in
        -o) options=$2; shift ;;
        -t) type=$2; shift ;;
        *) if [ -z "$device" ]; then device=$1; else place=$1; fi ;;
    esac
    shift
done
case $options in
    remount,ro | remount,rw)
        [ "$device" = / ] || { echo "mount: $device: not mounted" >&2; exit 32; }
        put rootfs "${options#remount,}"
        exit 0 ;;
esac
fail() { echo "mount: $*" >&2; exit 32; }
case $type:$device:$place in
    jffs2:"$DTC_BOX"/dev/mtdblock[2-5]:"$DTC_BOX"/mnt/*) ;;
    *) fail "cannot mount $device" ;;
esac
flash=$DTC_BOX/flash/mtd${device##*/mtdblock}
[ ! -s "$flash" ] || fail "$device: wrong fs type" # it was written raw
[ -d "$place" ] || [ -L "$place" ] || fail "mount point $place does not exist"
[ ! -L "$place" ] || { rm "$place" && mkdir "$place"; } # left by an interrupted command, hidden by the new one
mkdir -p "$flash.d"
rmdir "$place" && ln -s "$flash.d" "$place"
)sh"},
    {"bin/umount", R"sh(# umount: takes a flash partition away from its directory.
case $1 in "$DTC_BOX"/mnt/*) ;; *) false ;; esac && [ -L "$1" ] || { echo "umount: $1: not mounted" >&2; exit 32; }
rm "$1" && mkdir "$1"
)sh"},
    {"bin/ifconfig", R"sh(# ifconfig: the one interface asked for, with an address when it is up.
for interface; do :; done
case $interface in
    eth0 | usb0) ;;
    *) echo "$interface: error fetching interface information: Device not found" >&2; exit 1 ;;
esac
echo "$interface      Link encap:Ethernet  HWaddr 00:1B:C5:07:90:01  "
read -r state < "$DTC_BOX/run/network"
if [ "$state" = up ]; then
    read -r address < "$DTC_BOX/run/address"
    echo "          inet addr:$address  Bcast:192.168.255.255  Mask:255.255.0.0"
fi
)sh"},
    {"bin/ifup",
     R"sh(# ifup: brings the interface up as the interfaces file describes it; DHCP leases 192.168.0.2.
file="$DTC_BOX/etc/network/interfaces"
while [ $# -gt 0 ]; do
    case $1 in
        --interfaces) file=$2; shift ;;
        -*) ;;
        *) interface=$1 ;;
    esac
    shift
done
fail() { echo "ifup: $*" >&2; exit 1; }
case $file in "$DTC_BOX"/*) ;; *) file=/nonexistent ;; esac
[ -r "$file" ] || fail "cannot read $file"
described= method= address=
while read -r word value _ kind _; do
    case $word in
        iface) described=$value; [ "$value" != "$interface" ] || method=$kind ;;
        address) [ "$described" != "$interface" ] || address=$value ;;
    esac
done < "$file"
[ -n "$method" ] || fail "ignoring unknown interface $interface"
[ "$interface" = eth0 ] || fail "$interface: no such device"
case $method:$address in
    dhcp:*) address=192.168.0.2 ;;
    static:*[!0-9.]* | static:) fail "$interface: no valid address" ;;
    static:*) ;;
    *) fail "$interface: unknown method $method" ;;
esac
put address "$address"
put network up
)sh"},
    {"bin/date",
     R"sh(# date: the box's clock, which is the desk's and an offset; -s sets the offset.
read -r offset < "$DTC_BOX/run/clock-offset"
if [ "$1" = -s ]; then
    case $2 in
        [0-9][0-9][0-9][0-9].[0-9][0-9].[0-9][0-9]-[0-9][0-9]:[0-9][0-9]:[0-9][0-9]) ;;
        *) echo "date: invalid date '$2'" >&2; exit 1 ;;
    esac
    day=${2%%-*} time=${2#*-}
    wanted=$(desk_date -d "$(echo "$day" | tr . -) $time" +%s) || exit 1
    put clock-offset "$((wanted - $(desk_date +%s)))"
    exit 0
fi
desk_date -d "now $offset seconds" "$@"
)sh"},
    {"bin/flash_eraseall", R"sh(# flash_eraseall: empties a flash partition.
for device; do :; done
case $device in
    "$DTC_BOX"/dev/mtd[2-5]) flash=$DTC_BOX/flash/${device##*/} ;;
    *) echo "flash_eraseall: $device: no such device" >&2; exit 1 ;;
esac
rm -rf "$flash" "$flash.d"
: > "$flash"
)sh"},
    {"bin/ftl_format", R"sh(# ftl_format: a formatted partition is an empty one here.
for device; do :; done
case $device in "$DTC_BOX"/dev/mtd[2-5]) ;; *) false ;; esac || { echo "ftl_format: $device: no such device" >&2; exit 1; }
)sh"},
    {"bin/nandwrite",
     R"sh(# nandwrite: writes a file into a raw flash partition. That only clears bits: what was not erased before keeps
# its zeros.
fail() { echo "nandwrite: $*" >&2; exit 1; }
[ "$1" = -p ] || fail "$2: not whole pages; pad it with -p"
case $2 in "$DTC_BOX"/dev/mtd[2-5]) flash=$DTC_BOX/flash/${2##*/} ;; *) fail "$2: no such device" ;; esac
[ -f "$3" ] && [ ! -L "$3" ] || fail "cannot read $3"
[ ! -d "$flash.d" ] || rmdir "$flash.d" 2>/dev/null || fail "$2: holds a file system; erase it first"
if [ ! -s "$flash" ]; then
    cat "$3" > "$flash"
    exit
fi
bytes() { desk od -An -v -tu1 -w1 "$1" > "$DTC_BOX/run/$2.$$"; }
bytes "$flash" old && bytes "$3" new || exit 1
while read -r new <&3; do
    read -r old <&4 || old=255 # erased
    cleared=$((old & new))
    printf "\\$((cleared / 64))$((cleared / 8 % 8))$((cleared % 8))"
done 3< "$DTC_BOX/run/new.$$" 4< "$DTC_BOX/run/old.$$" 1<> "$flash"
rm "$DTC_BOX/run/new.$$" "$DTC_BOX/run/old.$$"
)sh"},
    {"bin/tar",
     R"sh(# tar: the desk's. What it unpacks comes to a new directory, where no link can lead it astray, and what it
# brings there is moved as a whole, without walking through links either. Links stay in a flash partition only,
# where nothing follows them; device nodes, owners and the set-user-id bit nowhere.
case $1:$#:$3:$4 in
    c* | t*) desk tar "$@"; exit ;;
    xzf:4:-C:"$DTC_BOX"/mnt/*) [ -L "$4" ] && unwanted=p || unwanted=p,l ;;
    xzf:4:-C:"$DTC_BOX"/tmp) unwanted=p,l ;;
    *) echo "tar: cannot do tar $*" >&2; exit 64 ;;
esac
fresh=$DTC_BOX/var/unpacked.$$
rm -rf "$fresh"
mkdir -m 700 "$fresh" || exit 2
desk tar -xzf "$2" -C "$fresh" --force-local --no-same-owner --no-same-permissions
status=$?
desk chmod -R u+rwX,ug-s,o-t "$fresh" && desk find "$fresh" -type "$unwanted,s,b,c" -delete || status=70
for entry in "$fresh"/* "$fresh"/.[!.]* "$fresh"/..?*; do
    [ $status -ne 70 ] && { [ -e "$entry" ] || [ -L "$entry" ]; } || continue
    rm -rf "$4/${entry##*/}" && mv "$entry" "$4/${entry##*/}" || status=2
done
rm -rf "$fresh"
exit $status
)sh"},
    {"etc/init.d/ifupdown", "# ifupdown: nothing to prepare here.\n"},
    {"etc/init.d/networking", "# networking: the interfaces come up by ifup.\n"},
    {"etc/init.d/inetd", R"sh(# inetd: takes its configuration over.
case $1 in start | restart) ;; *) echo "usage: inetd start|restart" >&2; exit 3 ;; esac
cp "$DTC_BOX/etc/inetd.conf" "$DTC_BOX/run/inetd.conf"
)sh"},
};

/// The desk's tools that the box's commands need: they read, and write only where they are told to.
constexpr char const* deskTools[] = {"cat", "cp", "grep",  "gzip", "ln",    "ls", "mkdir",
                                     "mv",  "rm", "rmdir", "sed",  "sleep", "tr"};

/// The desk's tools for the stand-ins, where the box's shell does not look for commands.
constexpr char const* toolsOfStandIns[] = {"chmod", "date", "find", "od", "tar"};

/// Makes a command of the box that runs a tool of the desk. Not a link: what a box's command writes
/// to its own "/bin" must not land in the desk's files.
void lendTool(std::string const& root, std::string const& path, std::string const& tool)
{
    for (char const* directory : {"/bin/", "/usr/bin/"}) {
        std::string const target = directory + tool;
        if (access(target.c_str(), X_OK) == 0) {
            writeFile(std::string(root).append("/").append(path),
                      std::string("#!/bin/sh\nexec ").append(target).append(" \"$@\"\n"), 0755);
            return;
        }
    }
}

} // namespace

void writeStandIns(std::string const& root)
{
    for (Script const& script : scripts)
        writeFile(root + "/" + script.path, std::string("#!/bin/sh\n") + shared + script.body,
                  0755);
    for (char const* tool : deskTools)
        lendTool(root, std::string("bin/") + tool, tool);
    for (char const* tool : toolsOfStandIns)
        lendTool(root, std::string("tools/") + tool, tool);
    writeFile(root + "/run/rootfs", "ro\n");
    writeFile(root + "/run/network", "down\n");
    writeFile(root + "/run/clock-offset", "0\n");
    writeFile(root + "/etc/inetd.conf",
              "#telnet stream tcp nowait root /usr/sbin/telnetd telnetd\n");
    for (char const* partition : {"2", "3", "4", "5"})
        writeFile(std::string(root).append("/flash/mtd").append(partition), "");
}

} // namespace KORVA::DTC::PLATFORM
