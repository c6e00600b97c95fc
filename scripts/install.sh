#!/usr/bin/env bash
# Installs the plug-in into a machine folder of the virtual machine, as an
# integrator installs it on an NCU:
#   card/oem/sinumerik/hmi/NorvaneZYN/appl   libsiemensharvel.so, libZynNetServer.so (and its libharvel_net_proto.so),
#                                            prg/find_sphere_center.mpf, prg/demo_probe.mpf
#   nc/MPF.DIR/DEMO_PROBE.MPF                the demo probing program, on the NC
#   card/oem/sinumerik/hmi/NorvaneZYN/cfg    SiemensHarvel.ini, TMRNC.INI
#   card/oem/sinumerik/hmi/cfg/systemconfiguration.ini   the area's line
#
# usage: install.sh [--net-server ADDRESS:PORT] MACHINE_DIR
#   --net-server  enables the net server on that address in the machine's
#                 TMRNC.INI
# HARVEL_BUILD_DIR chooses the build to take the libraries from (default
# build/ of the repository).
#
# The libraries are copied, never linked: the plug-in derives its folders
# from the real path of its library. The machine's own TMRNC.INI and an
# edited sphere centre program are kept; the libraries and the area
# configuration are replaced.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${HARVEL_BUILD_DIR:-$root/build}

net=""
machine=""
while [ $# -gt 0 ]; do
    case "$1" in
        --net-server) net=${2:?"install.sh: --net-server needs ADDRESS:PORT"}; shift 2 ;;
        -*) echo "install.sh: unknown option $1" >&2; exit 2 ;;
        *) machine=$1; shift ;;
    esac
done
if [ -z "$machine" ]; then
    echo "usage: install.sh [--net-server ADDRESS:PORT] MACHINE_DIR" >&2
    exit 2
fi
if [ ! -f "$build/lib/libsiemensharvel.so" ]; then
    echo "install.sh: $build/lib/libsiemensharvel.so is not built" >&2
    exit 1
fi

hmi="$machine/card/oem/sinumerik/hmi"
appl="$hmi/NorvaneZYN/appl"
cfg="$hmi/NorvaneZYN/cfg"
mkdir -p "$appl/prg" "$cfg" "$hmi/cfg"

# cp onto a library a running process has mapped would change its pages in
# place; a new file under the name leaves the old one to its users.
install_file() {
    rm -f "$2.new"
    cp "$1" "$2.new"
    mv -f "$2.new" "$2"
}
install_file "$build/lib/libsiemensharvel.so" "$appl/libsiemensharvel.so"
if [ -f "$build/lib/libZynNetServer.so" ]; then
    # The library finds its generated protocol code beside itself ($ORIGIN):
    # protobuf allows one copy of it per process, so it is a library of its own.
    install_file "$build/lib/libharvel_net_proto.so" "$appl/libharvel_net_proto.so"
    install_file "$build/lib/libZynNetServer.so" "$appl/libZynNetServer.so"
    # The NC's files are host files here: the net server's path fence must
    # know where //NC/ lies to follow its links (relative to appl/, so that
    # the machine folder may move).
    conf="$appl/ZynNetServer.conf"
    touch "$conf"
    if grep -q '^[[:space:]]*nc_folder[[:space:]]*=' "$conf"; then
        sed -i 's|^[[:space:]]*nc_folder[[:space:]]*=.*|nc_folder = ../../../../../../nc|' "$conf"
    else
        printf 'nc_folder = ../../../../../../nc\n' >>"$conf"
    fi
fi
install_file "$root/plugin/SiemensHarvel.ini" "$cfg/SiemensHarvel.ini"
[ -f "$appl/prg/find_sphere_center.mpf" ] || cp "$root/plugin/find_sphere_center.mpf" "$appl/prg/"
[ -f "$cfg/TMRNC.INI" ] || cp "$root/plugin/TMRNC.INI" "$cfg/TMRNC.INI"
install_file "$root/plugin/demo_probe.mpf" "$appl/prg/demo_probe.mpf"

# The demo probing program goes into the NC's part program folder, where
# an operator selects it; a new machine is laid out first, since a folder
# with NC data but no machine.ini is not taken for a new machine. An edited
# DEMO_PROBE.MPF stays.
if [ ! -f "$machine/machine.ini" ] && [ -x "$build/bin/harvel-nc-host" ]; then
    "$build/bin/harvel-nc-host" --machine "$machine" --create >/dev/null ||
        echo "install.sh: cannot lay out the machine in $machine; DEMO_PROBE.MPF is not put on its NC" >&2
fi
if [ -d "$machine/nc/MPF.DIR" ] && [ ! -f "$machine/nc/MPF.DIR/DEMO_PROBE.MPF" ]; then
    cp "$root/plugin/demo_probe.mpf" "$machine/nc/MPF.DIR/DEMO_PROBE.MPF"
fi

set_key() { # FILE KEY VALUE, within the one group [TMRNC]
    if grep -qi "^[[:space:]]*$2[[:space:]]*=" "$1"; then
        sed -i "s|^[[:space:]]*$2[[:space:]]*=.*|$2=$3|I" "$1"
    else
        printf '%s=%s\n' "$2" "$3" >>"$1"
    fi
}
if [ -n "$net" ]; then
    address=${net%:*}
    port=${net##*:}
    if [ -z "$address" ] || [ -z "$port" ] || [ "$address" = "$net" ]; then
        echo "install.sh: --net-server wants ADDRESS:PORT, not $net" >&2
        exit 2
    fi
    set_key "$cfg/TMRNC.INI" zynnetserverenable 1
    set_key "$cfg/TMRNC.INI" zynnetserverip "$address"
    set_key "$cfg/TMRNC.INI" zynnetserverport "$port"
fi

# One line per area; an earlier line of this dialog is replaced.
sys="$hmi/cfg/systemconfiguration.ini"
line="AREA500 = name:=Norvane, dialog:=SiemensHarvel, text:=Harvel, library:=NorvaneZYN/appl/libsiemensharvel.so, cfg:=NorvaneZYN/cfg/SiemensHarvel.ini"
touch "$sys"
sed -i '/dialog:=SiemensHarvel[,[:space:]]/d;/dialog:=SiemensHarvel$/d' "$sys"
if grep -q '^\[areas\]' "$sys"; then
    sed -i "/^\[areas\]/a $line" "$sys"
else
    printf '[areas]\n%s\n' "$line" >>"$sys"
fi
echo "install.sh: installed into $hmi/NorvaneZYN"
