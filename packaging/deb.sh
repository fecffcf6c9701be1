# shellcheck shell=bash disable=SC2154  # the names of ./package
# The Debian package, for ./package, which reads this file. The program uses the distribution's libraries.

maintainer='Brellmoor <brellmoor@users.noreply.invalid>'

# The newest section of CHANGELOG.md, as Debian writes it.
debian_changelog() {
    printf 'dral (%s) unstable; urgency=medium\n\n' "$version"
    awk '
        /^## / && ++sections == 2 { exit }
        !sections || /^#/ { next }
        {
            for (i = 1; i <= NF; ++i) {
                start = i == 1 && $1 == "-"
                word = start ? "*" : $i
                if (start || length(line) + length(word) > 77) {
                    if (line != "") print line
                    line = start ? "  *" : "    " word
                } else
                    line = line " " word
            }
        }
        END { print line }' CHANGELOG.md
    printf '\n -- %s  %s\n' "$maintainer" "$(date -R -d "@$SOURCE_DATE_EPOCH")"
}

# The licence, in the form that Debian's programs read.
debian_copyright() {
    printf '%s\n' \
        'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' \
        'Upstream-Name: dral' '' 'Files: *' \
        "Copyright: $(sed -n 's/^Copyright (c) //p' LICENSE)" 'License: Expat'
    sed '1,/^Copyright/d' LICENSE | sed '1{/^$/d}; s/^$/./; s/^/ /'
}

debian_control() { # LIBRARIES SIZE
    cat <<END
Package: dral
Version: $version
Architecture: amd64
Maintainer: $maintainer
Installed-Size: $2
Depends: $1
Section: games
Priority: optional
Description: chess engine that speaks UCI, with a toolbox
 Dral plays and analyses standard chess. A graphical user interface or a match
 manager starts it and talks UCI to it; with -c it is a console for a person.
 It searches with 1 to 128 threads, plays from Polyglot opening books, reads
 Syzygy endgame tables and plays below its full strength when asked to.
 .
 By switches it is a toolbox: benchmark, test suites, annotated listings of
 games, opening books from games, training records, tuning of its evaluation.
 .
 The processor must have the instruction POPCNT.
END
}

# compress FILE OUTPUT
compress() {
    gzip -9nc "$1" >"$2"
}

# Hardened by what costs no speed: that is without the stack protector, which costs 1 to 4 %.
make_deb() {
    local folder=$work/deb doc libraries
    doc=$folder/usr/share/doc/dral
    [ "$(dpkg --print-architecture)" = amd64 ] || { echo "only on amd64"; return 1; }
    rm -rf "$folder" &&
        build release "$folder/usr/games" \
            -DCMAKE_CXX_FLAGS='-fPIE -D_FORTIFY_SOURCE=2' \
            -DCMAKE_EXE_LINKER_FLAGS='-pie -Wl,-z,relro,-z,now' &&
        strip --remove-section=.comment --remove-section=.note "$folder/usr/games/dral" &&
        mkdir -p "$folder/DEBIAN" "$folder/debian" "$doc/examples" "$folder/usr/share/man/man6" \
            "$folder/usr/share/bash-completion/completions" || return 1
    debian_changelog >"$work/changelog" && compress "$work/changelog" "$doc/changelog.gz" &&
        debian_copyright >"$doc/copyright" &&
        cp README.md "$doc/" || return 1
    [ ! -e docs/dral.6 ] || compress docs/dral.6 "$folder/usr/share/man/man6/dral.6.gz"
    [ ! -e docs/dral.bash ] || cp docs/dral.bash "$folder/usr/share/bash-completion/completions/dral"
    [ ! -e docs/dral.cfg.example ] || cp docs/dral.cfg.example "$doc/examples/dral.cfg"
    # dpkg-shlibdeps looks for a source package around it.
    printf 'Source: dral\n\nPackage: dral\nArchitecture: any\n' >"$folder/debian/control" &&
        libraries=$(cd "$folder" && dpkg-shlibdeps -O usr/games/dral) && rm -r "$folder/debian" || return 1
    debian_control "${libraries#shlibs:Depends=}" "$(du -sk --apparent-size "$folder/usr" | cut -f1)" \
        >"$folder/DEBIAN/control" &&
        (cd "$folder" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums) &&
        settle "$folder" &&
        dpkg-deb --root-owner-group -Zxz --threads-max=1 --build "$folder" "$made/dral_${version}_amd64.deb"
}
