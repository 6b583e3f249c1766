#!/usr/bin/env python3
"""run_unit.py ROOT UNIT INSTANCE: runs the command line of a unit file in ROOT/usr/lib/systemd/system as systemd would
in the system in ROOT: as its user, in its folder, with its mask, without capabilities, behind its filters of system
calls and sockets, and with a socket to tell on that it is ready. When it has told so it has to answer a browser with the
page, to bear a SIGHUP, and to end with status 0 after a SIGTERM."""
import ctypes
import errno
import os
import re
import signal
import socket
import subprocess
import sys
import urllib.request

PATIENCE = 60
PAGE = "http://127.0.0.1:8420/"
NOTIFIED = "/run/notify"


def fail(text):
    sys.exit(f"run_unit: {text}")


class Unit:
    """The settings of a unit file, each a list of what it was set to one after the other."""

    def __init__(self, root, unit, instance):
        self.name = unit
        self.settings = {}
        text = open(f"{root}/usr/lib/systemd/system/{unit}", encoding="utf-8").read()
        text = text.replace("%S", "/var/lib").replace("%i", instance)
        for key, value in re.findall(r"^(\w+)=(.*)$", text, re.MULTILINE):
            self.settings.setdefault(key, []).append(value)

    def __getitem__(self, key):
        if key not in self.settings:
            fail(f"{self.name} has no {key}=")
        return self.settings[key][-1]

    def insist(self, key, value):
        if self[key] != value:
            fail(f"{self.name} has not {key}={value}")

    def system_calls(self):
        """The names that SystemCallFilter= leaves: the first line begins the list, further ones add or take away."""
        allowed = expand("@default")
        for line in self.settings["SystemCallFilter"]:
            names = {call for name in line.lstrip("~").split() for call in expand(name)}
            allowed = allowed - names if line.startswith("~") else allowed | names
        return allowed


def expand(name):
    """The calls in a set such as @chown, with those of the sets in it."""
    if not name.startswith("@"):
        return {name}
    shown = subprocess.run(["systemd-analyze", "syscall-filter", name], check=True, stdout=subprocess.PIPE, text=True)
    members = [line.strip() for line in shown.stdout.splitlines()[1:]]
    return {call for member in members if member and not member.startswith("#") for call in expand(member)}


class Filter:
    """What the kernel lets a process do from now on."""

    ALLOW = 0x7FFF0000
    REFUSE = 0x00050000 | errno.EPERM
    EQUAL = 4

    class Comparison(ctypes.Structure):
        _fields_ = [("argument", ctypes.c_uint), ("operator", ctypes.c_int),
                    ("value", ctypes.c_uint64), ("unused", ctypes.c_uint64)]

    def __init__(self, calls, families):
        self.seccomp = ctypes.CDLL("libseccomp.so.2", use_errno=True)
        self.seccomp.seccomp_init.restype = ctypes.c_void_p
        self.context = ctypes.c_void_p(self.seccomp.seccomp_init(ctypes.c_uint32(self.REFUSE)))
        for call in sorted(calls - {"socket"}):
            self.allow(call)
        for family in families:
            self.allow("socket", self.Comparison(0, self.EQUAL, getattr(socket, family), 0))

    def allow(self, call, *comparisons):
        number = self.seccomp.seccomp_syscall_resolve_name(call.encode())
        # Calls of other processors have no number here, or one that is none.
        if number >= 0:
            given = (self.Comparison * len(comparisons))(*comparisons)
            if self.seccomp.seccomp_rule_add_array(self.context, self.ALLOW, number, len(comparisons), given) != 0:
                fail(f"the call {call} can't be allowed")

    def load(self):
        """With it goes the right to gain any by running a program, as with NoNewPrivileges=."""
        if self.seccomp.seccomp_load(self.context) != 0:
            raise OSError("the filter can't be loaded")


def account(root, name):
    """The numbers of a user of that system and of his group."""
    found = re.search(rf"^{name}:[^:]*:(\d+):(\d+):", open(root + "/etc/passwd", encoding="utf-8").read(), re.MULTILINE)
    return (int(found[1]), int(found[2])) if found else fail(f"there is no user {name}")


def start(root, unit):
    user, group = account(root, unit["User"])
    system_calls = Filter(unit.system_calls(), unit["RestrictAddressFamilies"].split())

    def enter():
        os.chroot(root)
        os.umask(int(unit["UMask"], 8))
        os.chdir(unit["WorkingDirectory"])
        os.setgroups([])
        os.setgid(group)
        os.setuid(user)
        system_calls.load()

    return subprocess.Popen(unit["ExecStart"].split(), preexec_fn=enter, env={
        "PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8", "NOTIFY_SOCKET": NOTIFIED})


def messages(listener):
    while True:
        try:
            yield from listener.recv(65536).decode().splitlines()
        except TimeoutError:
            return


def wait_until_ready(listener, process):
    listener.settimeout(1)
    for _ in range(PATIENCE):
        if "READY=1" in messages(listener):
            return
        if process.poll() is not None:
            fail(f"it ended with status {process.returncode} and was never ready")
    fail("it was not ready within a minute")


def insist_on_page():
    with urllib.request.urlopen(PAGE, timeout=PATIENCE) as answer:
        if answer.headers.get_content_type() != "text/html":
            fail(f"{PAGE} is {answer.headers['Content-Type']}")


def main():
    root, name, instance = sys.argv[1:]
    unit = Unit(root, name, instance)
    unit.insist("Type", "notify")
    unit.insist("SystemCallErrorNumber", "EPERM")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as listener:
        listener.bind(root + NOTIFIED)
        os.chmod(root + NOTIFIED, 0o777)
        process = start(root, unit)
        try:
            wait_until_ready(listener, process)
            insist_on_page()
            # Where it takes no notice of the first it dies of that, which is no status of its own.
            process.send_signal(signal.SIGHUP)
            process.send_signal(signal.SIGTERM)
            status = process.wait(PATIENCE)
            if status != 0:
                fail(f"it ended with status {status} after SIGHUP and SIGTERM")
        finally:
            process.kill()
            os.remove(root + NOTIFIED)


main()
