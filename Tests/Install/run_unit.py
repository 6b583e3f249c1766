#!/usr/bin/env python3
"""run_unit.py ROOT UNIT INSTANCE: runs the command line of a unit file in ROOT/usr/lib/systemd/system as systemd would
in the system in ROOT: as its user, in its folder and with its mask, and with a socket to tell on that it is ready. When
it has told so it has to bear a SIGHUP, and to end with status 0 after a SIGTERM."""
import os
import re
import signal
import socket
import subprocess
import sys

PATIENCE = 60


def fail(text):
    sys.exit(f"run_unit: {text}")


def settings(root, unit, instance):
    text = open(f"{root}/usr/lib/systemd/system/{unit}", encoding="utf-8").read()
    text = text.replace("%S", "/var/lib").replace("%i", instance)
    found = dict(re.findall(r"^(\w+)=(.*)$", text, re.MULTILINE))
    for name in ("ExecStart", "User", "Group", "UMask", "WorkingDirectory"):
        if name not in found:
            fail(f"{unit} has no {name}=")
    if found.get("Type") != "notify":
        fail(f"{unit} does not wait until it is told that the service is ready")
    return found


def start(root, unit, notified):
    # The shell is there until the program takes its place, under the same number.
    script = 'umask "$1"; cd "$2"; shift 2; exec "$@"'
    return subprocess.Popen(
        ["chroot", root, "sh", "-ec", script, "sh", unit["UMask"], unit["WorkingDirectory"],
         "setpriv", "--reuid", unit["User"], "--regid", unit["Group"], "--init-groups", "--no-new-privs",
         "--bounding-set=-all", *unit["ExecStart"].split()],
        env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8", "NOTIFY_SOCKET": notified})


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


def main():
    root, name, instance = sys.argv[1:]
    unit = settings(root, name, instance)
    notified = "/run/notify"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as listener:
        listener.bind(root + notified)
        os.chmod(root + notified, 0o777)
        process = start(root, unit, notified)
        try:
            wait_until_ready(listener, process)
            # Where it takes no notice of the first it dies of that, which is no status of its own.
            process.send_signal(signal.SIGHUP)
            process.send_signal(signal.SIGTERM)
            status = process.wait(PATIENCE)
            if status != 0:
                fail(f"it ended with status {status} after SIGHUP and SIGTERM")
        finally:
            process.kill()
            os.remove(root + notified)


main()
