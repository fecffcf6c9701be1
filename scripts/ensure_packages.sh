#!/bin/bash
# Installs those of the named Debian packages that are missing:
#
#   scripts/ensure_packages.sh g++ cmake make
#
# As root or through sudo. Where that is not possible, prints one line that names what is missing, and exits 1.
# Everything goes to stderr; stdin is left alone.
set -u

[ $# -gt 0 ] || exit 0

refuse() {
    echo "missing: ${missing[*]} -- $1" >&2
    exit 1
}

missing=("$@")
command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
    refuse "this is not a Debian-like system, please install the like of these packages"

installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null </dev/null)
missing=()
for package in "$@"; do
    case $'\n'"$installed"$'\n' in
    *$'\n'"installed $package"$'\n'*) ;;
    *) missing+=("$package") ;;
    esac
done
[ ${#missing[@]} -gt 0 ] || exit 0

install="please run: apt-get install ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    as_root=()
elif ! command -v sudo >/dev/null; then
    refuse "$install"
elif sudo -n true 2>/dev/null </dev/null; then
    as_root=(sudo -n)
elif [ -t 2 ] && { : </dev/tty; } 2>/dev/null; then
    as_root=(sudo)
else
    refuse "$install"
fi

echo "installing ${missing[*]}" >&2
apt_get() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 "$@" </dev/null 2>&1
}
# A failed update alone is no reason to stop: the lists at hand may do.
log=$(apt_get update; apt_get install --no-install-recommends "${missing[@]}")
status=$?
if [ $status -ne 0 ]; then
    tail -n 20 <<<"$log" >&2
    refuse "installing failed (apt-get exit status $status)"
fi
