#!/usr/bin/env python3
"""bare_root.py FOLDER PACKAGE-FILE: makes a Debian system of files in FOLDER, out of those that are installed here: the
packages that no system is without, and what the package file depends on, but not itself. dpkg works in it and knows what
there is. It is to be entered with chroot."""
import os
import re
import shutil
import subprocess
import sys

# What nobody reads there.
LEFT_OUT = tuple(f"/usr/share/{name}/" for name in ("doc", "i18n", "info", "lintian", "locale", "man", "zoneinfo"))


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def installed_packages():
    """The stanzas of dpkg's database, as fields by the package's name."""
    packages = {}
    for stanza in open("/var/lib/dpkg/status", encoding="utf-8").read().split("\n\n"):
        fields = dict(re.findall(r"^([A-Za-z-]+): (.*)$", stanza, re.MULTILINE))
        if fields.get("Status") == "install ok installed":
            packages.setdefault(fields["Package"], fields | {"stanza": stanza.strip("\n")})
    return packages


def names(relations):
    """The names in a field of relations: a list of those that may stand for one another, for each relation."""
    return [[re.split(r"[ :(]", name.strip())[0] for name in relation.split("|")]
            for relation in relations.split(",") if relation.strip()]


def needed_packages(packages, relations):
    providers = {}
    for name, fields in packages.items():
        for provided in [name] + [one for group in names(fields.get("Provides", "")) for one in group]:
            providers.setdefault(provided, name)
    found = set()
    left = [name for name, fields in packages.items()
            if fields.get("Essential") == "yes" or fields["Priority"] == "required"]

    def take(relations):
        for alternatives in names(relations):
            there = [providers[name] for name in alternatives if name in providers]
            if not there:
                sys.exit(f"no package is installed for the dependency {' | '.join(alternatives)}")
            left.append(there[0])

    take(relations)
    while left:
        name = left.pop()
        if name not in found:
            found.add(name)
            take(packages[name].get("Pre-Depends", "") + "," + packages[name].get("Depends", ""))
    return sorted(found)


def copy(root, path):
    """Copies a file, link or folder. Folders that are links here, such as /lib, are taken for what they lead to."""
    folder, name = os.path.split(path)
    target = root + os.path.join(os.path.realpath(folder), name)
    if os.path.islink(path) or os.path.isfile(path):
        if not os.path.lexists(target):
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy2(path, target, follow_symlinks=False)
    elif os.path.isdir(path):
        os.makedirs(target, exist_ok=True)
        shutil.copystat(path, target)


def make_root(root, packages, needed):
    for name in os.listdir("/"):
        if os.path.islink("/" + name) and os.readlink("/" + name).startswith("usr/"):
            copy(root, "/" + name)
            os.makedirs(f"{root}/{os.readlink('/' + name)}", exist_ok=True)
    database = root + "/var/lib/dpkg"
    for folder in ("info", "updates", "triggers"):
        os.makedirs(f"{database}/{folder}")
    copy(root, "/var/lib/dpkg/info/format")
    with open(database + "/status", "w", encoding="utf-8") as status:
        for name in needed:
            status.write(packages[name]["stanza"] + "\n\n")
    for name in needed:
        for path in output("dpkg-query", "--listfiles", name).splitlines():
            if path.startswith("/") and not (path + "/").startswith(LEFT_OUT):
                copy(root, path)
        for path in output("dpkg-query", "--control-path", name).splitlines():
            copy(root, path)
        files = f"/var/lib/dpkg/info/{name}.list"
        if not os.path.exists(files):
            files = f"/var/lib/dpkg/info/{name}:{packages[name]['Architecture']}.list"
        copy(root, files)


def finish(root):
    """What the packages' own scripts would have made."""
    for name in ("passwd", "group"):
        shutil.copy(f"{root}/usr/share/base-passwd/{name}.master", f"{root}/etc/{name}")
    for folder in ("dev", "proc", "run", "tmp", "etc/systemd/system/multi-user.target.wants"):
        os.makedirs(f"{root}/{folder}", exist_ok=True)
    os.chmod(root + "/tmp", 0o1777)
    for command in (["ldconfig"], ["pwconv"], ["grpconv"]):
        subprocess.run(["chroot", root] + command, check=True)


def main():
    root, package = sys.argv[1:]
    packages = installed_packages()
    make_root(root, packages, needed_packages(packages, output("dpkg-deb", "--field", package, "Depends")))
    finish(root)


main()
