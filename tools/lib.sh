# shellcheck shell=bash
# Shared by the commands: progress lines, and installing what is missing. Source it with the repository's root as the
# working folder.

say() { printf '%s\n' "$*"; }
step() { printf '\n== %s (%d s)\n' "$*" "$SECONDS"; }
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# rows PURPOSE...: the rows of tools/packages for these purposes, "command package".
rows() {
    local purpose
    for purpose in "$@"; do
        awk -v purpose="$purpose" '$1 == purpose { print $2, $3 }' tools/packages
    done
}

# Without a terminal sudo may not ask.
sudo_options=()
[ -t 0 ] || sudo_options=(-n)

apt_get() {
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo "${sudo_options[@]}")
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o=Dpkg::Use-Pty=0 "$@" </dev/null
}

# need PURPOSE...: installs what is missing on Debian and its relatives; elsewhere names every tool that is missing.
need() {
    local command package missing_tools=() missing_packages=()
    while read -r command package; do
        if [ "${package%\?}" != "$package" ]; then
            package=${package%\?}
            if ! apt-cache show "$package" >/dev/null 2>&1; then continue; fi
        fi
        if [ "$command" != - ] && ! command -v "$command" >/dev/null; then
            missing_tools+=("$command")
        fi
        if command -v dpkg-query >/dev/null &&
            [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing_packages+=("$package")
        fi
    done < <(rows "$@")

    if ! command -v apt-get >/dev/null; then
        [ ${#missing_tools[@]} -eq 0 ] ||
            fail "missing: ${missing_tools[*]}. README.md lists the packages for several distributions."
        return 0
    fi
    [ ${#missing_packages[@]} -gt 0 ] || return 0

    step "Installing ${missing_packages[*]}"
    # The lists may be absent or old: fetch them only when the packages cannot be had without.
    local install=(install --no-install-recommends "${missing_packages[@]}")
    apt_get "${install[@]}" 2>/dev/null && return 0
    if ! { apt_get update && apt_get "${install[@]}"; }; then
        fail "cannot install them. As root: apt-get install ${missing_packages[*]}"
    fi
}

# The version of each formatter and linter that our files were written with: another one has other opinions.
declare -A checker_versions=([clang-format]=14 [clang-tidy]=14 [shellcheck]=0.9)

# choose_checker NAME: puts its command in that version into `checker`; says in one line where it is not there.
choose_checker() {
    local version=${checker_versions[$1]}
    for checker in "$1-$version" "$1"; do
        if [[ $("$checker" --version 2>/dev/null) == *@(version|version:)" $version".* ]]; then return 0; fi
    done
    say "Left out: $1 $version is not installed, and another version asks for other things."
    return 1
}
