"""Clusters of PostgreSQL for the tests in Python: each in a temporary folder, on a free port, with TLS."""

import glob
import os
import pwd
import shutil
import socket
import subprocess
import tempfile

PATIENCE = 60
PROGRAMS = sorted(glob.glob("/usr/lib/postgresql/*/bin"), key=lambda path: int(path.split("/")[-2]))[-1]
# PostgreSQL refuses to be run as root.
USER = pwd.getpwnam("nobody") if os.geteuid() == 0 else None

SETTINGS = """
ssl = on
ssl_cert_file = 'server.crt'
ssl_key_file = 'server.key'
fsync = off
"""


def run(*words, user=None, **options):
    """Runs a command that has to succeed, and returns what it prints."""
    ended = subprocess.run(words, capture_output=True, text=True, timeout=PATIENCE, stdin=subprocess.DEVNULL,
                           preexec_fn=user and (lambda: become(user)), **options)
    assert ended.returncode == 0, f"{words}: {ended.returncode}\n{ended.stdout}{ended.stderr}"
    return ended.stdout


def become(user):
    os.setgroups([])
    os.setgid(user.pw_gid)
    os.setuid(user.pw_uid)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Cluster:
    """A cluster that is running. Whoever comes by its socket is an administrator, by TCP it takes TLS and a password."""

    def __init__(self, primary=None):
        self.folder = tempfile.mkdtemp(prefix="ravik-test-")
        # As root the programs of its administrator come as somebody else than who it belongs to.
        os.chmod(self.folder, 0o711)
        self.data = os.path.join(self.folder, "data")
        self.port = str(free_port())
        self.is_running = False
        if USER:
            os.chown(self.folder, USER.pw_uid, USER.pw_gid)
        if primary is None:
            self._make()
        else:
            run(PROGRAMS + "/pg_basebackup", "--pgdata", self.data, "--write-recovery-conf", "--checkpoint=fast",
                user=USER, env=primary.administrator())
        self.start()

    def __enter__(self):
        return self

    def __exit__(self, *error):
        if self.is_running:
            self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _make(self):
        run(PROGRAMS + "/initdb", "--pgdata", self.data, "--username=postgres", "--no-sync", user=USER)
        run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days",
            "30", "-keyout", "server.key", "-out", "server.crt", "-subj", "/CN=localhost", "-addext",
            "subjectAltName=DNS:localhost", user=USER, cwd=self.data)
        with open(os.path.join(self.data, "postgresql.conf"), "a", encoding="utf-8") as file:
            file.write(SETTINGS)
        with open(os.path.join(self.data, "pg_hba.conf"), "w", encoding="utf-8") as file:
            file.write("local all all trust\nlocal replication all trust\nhostssl all all 127.0.0.1/32 scram-sha-256\n")
        shutil.copy(os.path.join(self.data, "server.crt"), os.path.join(self.folder, "ca.crt"))

    def administrator(self):
        """The environment of an administrator's programs."""
        return {**os.environ, "PGHOST": self.folder, "PGPORT": self.port, "PGUSER": "postgres",
                "PATH": PROGRAMS + ":" + os.environ["PATH"]}

    def sql(self, text, database="postgres"):
        return run(PROGRAMS + "/psql", "--no-psqlrc", "--quiet", "--tuples-only", "--no-align", "--set=ON_ERROR_STOP=1",
                   "--dbname", database, "--command", text, env=self.administrator()).strip()

    def start(self):
        run(PROGRAMS + "/pg_ctl", "start", "--wait", "--pgdata", self.data, "--log", self.data + "/log", "--options",
            f"-c listen_addresses=127.0.0.1 -c port={self.port} -c unix_socket_directories={self.folder}", user=USER)

        self.is_running = True

    def stop(self, mode="immediate"):
        self.is_running = False
        run(PROGRAMS + "/pg_ctl", "stop", "--pgdata", self.data, "--mode", mode, user=USER)

    def promote(self):
        run(PROGRAMS + "/pg_ctl", "promote", "--wait", "--pgdata", self.data, user=USER)
