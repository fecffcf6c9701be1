#!/bin/bash
# Makes the downloads with ./package and tries them as those who fetch them do. As root, for the fresh system.
#
#   tests/check_package.sh [NAME...]    the downloads to make again from the unpacked source, whose bytes must be the
#                                       same; by default all but linux-aarch64, which is made as linux-x86_64 is
set -u
cd "$(dirname "$(readlink -f "$0")")/.." || exit 1
export LC_ALL=C CCACHE_DISABLE=1
again=("${@:-source}")
[ $# -gt 0 ] || again+=(linux-x86_64 windows-x86_64 deb)
version=$(sed -n 's/^project(dral VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
bench=$PWD/tests/check_bench.sh
base=$PWD/build/debian.tar
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
fresh=$scratch/fresh
in_fresh=(chroot "$fresh" /usr/bin/env PATH=/usr/sbin:/usr/bin:/usr/games)
failed=0

# try HEADING COMMAND...: a failure is told and remembered.
try() {
    local heading=$1 start=$SECONDS
    shift
    if "$@" >"$scratch/log" 2>&1 </dev/null; then
        echo "ok: $heading, $((SECONDS - start)) s"
    else
        tail -n 30 "$scratch/log"
        echo "FAILED: $heading"
        failed=1
    fi
}

same_bytes() {
    local file
    mkdir "$scratch/again" && tar -C "$scratch/again" -xf "dist/dral-$version.tar.gz" || return 1
    "$scratch/again/dral-$version/package" "${again[@]}" || return 1
    for file in "$scratch/again/dral-$version/dist/"dral*; do
        cmp "$file" "dist/${file##*/}" || return 1
    done
    [ "$(grep -c . "$scratch/again/dral-$version/dist/SHA256SUMS")" -eq ${#again[@]} ]
}

# contents EXPECTED COMMAND...: what COMMAND lists, without folders, is EXPECTED.
contents() {
    diff <(printf '%s\n' $1 | sort) <("${@:2}" | sed 's,^\./,,; /\/$/d; /^$/d' | sort)
}

fresh_system() {
    [ -e "$base" ] || { debootstrap --variant=minbase --include=man-db bookworm "$scratch/base" &&
        rm -rf "$scratch/base/var/cache/apt/"* && tar -C "$scratch/base" -cf "$base.new" . && mv "$base.new" "$base"; } &&
        mkdir "$fresh" && tar -C "$fresh" -xf "$base" && cp dist/*.deb "$fresh/dral.deb" && files >"$scratch/before"
}

files() {
    (cd "$fresh" && find . \( -path ./var/lib/dpkg -o -path ./var/log -o -path ./var/cache/man \) -prune -o -print | sort)
}

refuses_old_processor() {
    local said
    said=$(qemu-x86_64 -cpu Conroe "$1" 2>&1 >"$scratch/out" </dev/null)
    echo "status $?: $said" | grep '^status 1: dral: .* POPCNT.*' && [ ! -s "$scratch/out" ] && [ "$(wc -l <<<"$said")" = 1 ]
}

scripts/ensure_packages.sh debootstrap lintian qemu-user unzip || exit 1
text="LICENSE README.md CHANGELOG.md dral.6 dral.bash dral.cfg"
doc=usr/share/doc/dral
try "made" ./package
try "sums" eval '(cd dist && sha256sum -c SHA256SUMS && [ "$(ls | grep -c ^dral)" -eq 5 ])'
try "same bytes again: ${again[*]}" same_bytes
for machine in x86_64 aarch64; do
    name=dral-$version-linux-$machine
    try "contents, $machine" contents "$(printf "$name/%s " dral $text)" tar -tf "dist/$name.tar.gz"
    tar -C "$scratch" -xf "dist/$name.tar.gz"
done
name=dral-$version-windows-x86_64
try "contents, windows" contents "$(printf "$name/%s " dral.exe dral.cfg {LICENSE,README,CHANGELOG,MANUAL}.txt)" \
    zipinfo -1 "dist/$name.zip"
[ ! -e .git ] ||
    try "contents, source" contents "packaging/source_date $(git -c safe.directory="$PWD" ls-files | tr '\n' ' ')" \
        tar -tf "dist/dral-$version.tar.gz" --transform="s,^dral-$version/,," --show-transformed-names
try "contents, deb" contents "usr/games/dral $(printf "$doc/%s " README.md changelog.gz copyright examples/dral.cfg)
    usr/share/man/man6/dral.6.gz usr/share/bash-completion/completions/dral" \
    eval "dpkg-deb --fsys-tarfile dist/dral_${version}_amd64.deb | tar -t"
try "lintian" lintian --fail-on error,warning "dist/dral_${version}_amd64.deb"

try "fresh system" fresh_system
try "installed" "${in_fresh[@]}" dpkg -i dral.deb
try "installed: bench signature" "$bench" "${in_fresh[@]}" dral
try "installed: manual page" "${in_fresh[@]}" man -w dral
try "purged" eval '"${in_fresh[@]}" dpkg -P dral && files | diff "$scratch/before" -'
static=dral-$version-linux-x86_64/dral
cp "$scratch/$static" "$fresh/static"
try "linux-x86_64 there: bench signature" "$bench" chroot "$fresh" /static
try "linux-x86_64, no newer processor than need be" "$bench" qemu-x86_64 -cpu Nehalem "$scratch/$static"
for program in "$scratch/$static" "$PWD/build/package/deb/usr/games/dral"; do
    try "refuses a processor without POPCNT: ${program##*/package/}" refuses_old_processor "$program"
done
try "linux-aarch64: bench signature" "$bench" qemu-aarch64 "$scratch/dral-$version-linux-aarch64/dral"
if command -v wine >/dev/null; then
    export WINEDEBUG=-all WINEPREFIX=$PWD/build/wine
    try "windows-x86_64: unpacked" unzip -q -d "$scratch" "dist/$name.zip"
    try "windows-x86_64: bench signature" "$bench" wine "$scratch/$name/dral.exe"
else
    echo "not tried: windows-x86_64, no wine here"
fi
echo "check_package: $([ $failed = 0 ] && echo everything holds || echo FAILED), $SECONDS s"
exit $failed
