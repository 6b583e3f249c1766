#!/usr/bin/env bash
# package.sh PACKAGE-FILE: installs the Debian package into a bare system in a temporary folder, uses what it brought
# there, removes it and insists that nothing stays behind. It wants root, and no network: what it mounts and listens on
# is its own.
set -euo pipefail

if [[ ${RAVIK_APART:-} != yes ]]; then
    exec env RAVIK_APART=yes unshare --mount --net "${BASH_SOURCE[0]}" "$@"
fi
package=$(realpath "$1")
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
folder=$(mktemp -d)
root=$folder/root
projects=/var/lib/ravik
trap 'umount "$root"/{dev/null,proc} || true; rm -rf --one-file-system "$folder"' EXIT
# shellcheck source=expect.sh
source "$here/expect.sh"

make_bare_system()
{
    mkdir "$root"
    "$here/bare_root.py" "$root" "$package"
    cp "$package" "$root/ravik.deb"
    touch "$root/dev/null"
    mount --bind /dev/null "$root/dev/null"
    mount --bind /proc "$root/proc"
    ip link set lo up
    inventory >"$folder/before"
}

# A line for all that is in the bare system: type, rights, owner, name, where a link leads, and what is in a file. What
# dpkg and the tools for accounts keep for themselves is left out, and so is what no system keeps.
inventory()
{
    local theirs=(-path ./dev -o -path ./proc -o -path ./run -o -path ./var/lib/dpkg -o -path ./var/log
        -o -path ./etc/passwd- -o -path ./etc/group- -o -path ./etc/shadow- -o -path ./etc/gshadow-
        -o -path ./etc/.pwd.lock)
    (
        cd "$root"
        find . \( "${theirs[@]}" \) -prune -o -printf '%y %m %U:%G %p %l\n'
        find . \( "${theirs[@]}" \) -prune -o -type f -print0 | xargs -0 sha256sum
    ) | sort
}

expect_no_trace()
{
    inventory >"$folder/after"
    expect 0 "" diff "$folder/before" "$folder/after"
    expect 1 "" inside dpkg-query --show ravik
}

inside()
{
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

as_ravik()
{
    inside setpriv --reuid ravik --regid ravik --init-groups "$@"
}

try_program()
{
    local version
    version=$(dpkg-deb --field "$package" Version)
    expect 0 "ravik ${version%-*}" inside ravik --version
    expect 0 "" inside install -d -o ravik -g ravik -m 0750 "$projects/line"
    expect 0 "" as_ravik ravik init "$projects/line"
    expect 0 "" as_ravik ravik --project "$projects/line" import "$projects/line/recipes.json"
    expect 0 "verified" as_ravik ravik --project "$projects/line" activate Bread
    expect 0 "complete -o default -F _ravik ravik" \
        inside bash -c '. /usr/share/bash-completion/completions/ravik && complete -p ravik'
    expect 0 "#compdef ravik" inside head -n 1 /usr/share/zsh/vendor-completions/_ravik
    expect 0 "ravik" gzip --decompress --stdout "$root/usr/share/man/man1/ravik.1.gz"
}

try_unit()
{
    expect 0 "" inside systemctl enable ravik@line
    expect 0 "" inside systemd-analyze verify --man=no ravik@line.service
    # From 0, shut off from everything, to 100.
    expect 0 "" inside systemd-analyze security --offline=yes --threshold=20 ravik@line.service
    "$here/run_unit.py" "$root" ravik@.service line
}

try_removal()
{
    # A second time over itself, as an upgrade does it.
    expect 0 "" inside dpkg --install /ravik.deb
    expect 0 "" inside dpkg --purge ravik
    # A project outlives the package, and its owner with it.
    expect 0 "ravik ravik" inside stat --format='%U %G' "$projects/line/ravik.db"
    rm -r "${root:?}$projects/line"
    expect 0 "" inside dpkg --install /ravik.deb
    expect 0 "" inside dpkg --remove ravik
    expect 0 "" inside dpkg --purge ravik
    expect_no_trace
}

# As those do it who make images of systems.
try_from_outside()
{
    expect 0 "" dpkg --root="$root" --force-script-chrootless --install "$package"
    expect 0 "ravik" inside id --name --user ravik
    expect 0 "" dpkg --root="$root" --force-script-chrootless --purge ravik
    expect_no_trace
}

step()
{
    printf '   %s\n' "$1"
    shift
    "$@"
}

step "lintian" lintian --allow-root --fail-on error "$package"
step "a bare system" make_bare_system
step "the package in it" expect 0 "" inside dpkg --install /ravik.deb
step "the program" try_program
step "a controller of one's own" "$here/example_controller.sh" "$root/usr" "$folder/oven" -G Ninja
step "the unit" try_unit
step "removal" try_removal
step "installed and removed from outside" try_from_outside
