"""Projects and running services for the tests in Python."""

import json
import os
import queue
import shutil
import signal
import ssl
import subprocess
import tempfile
import threading
import urllib.error
import urllib.request

PROGRAM = os.environ["RAVIK"]
PATIENCE = 60
PASSWORD = "wheat and rye"


def run(*words, folder=None, text=None):
    """Runs a command that has to succeed, and returns what it prints."""
    ended = subprocess.run(words, cwd=folder, input=text, capture_output=True, text=True, timeout=PATIENCE)
    assert ended.returncode == 0, f"{words}: {ended.returncode}\n{ended.stdout}{ended.stderr}"
    return ended.stdout


class Project:
    """The sample project in a folder of its own, which goes with it."""

    def __init__(self, service=None):
        self.folder = tempfile.mkdtemp(prefix="ravik-test-")
        self.ravik("init", ".")
        if service is not None:
            self.change(lambda file: file.update(service=service))
        self.ravik("import", "recipes.json")

    def __enter__(self):
        return self

    def __exit__(self, *error):
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def ravik(self, *words, text=None):
        return run(PROGRAM, *words, folder=self.folder, text=text)

    def change(self, change):
        with open(self.path("ravik.json"), encoding="utf-8") as file:
            content = json.load(file)
        change(content)
        with open(self.path("ravik.json"), "w", encoding="utf-8") as file:
            json.dump(content, file)

    def add_user(self, name="anna", role="admin"):
        self.ravik("user", "add", name, "--role", role, text=PASSWORD + "\n")

    def add_token(self, name, role="engineer"):
        return json.loads(self.ravik("token", "add", name, "--role", role, "--json"))["value"]["token"]

    def make_certificate(self, name="service"):
        """Makes NAME.crt and NAME.key and returns what "tls" takes."""
        run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
            "-days", "30", "-keyout", name + ".key", "-out", name + ".crt", "-subj", "/CN=line.example",
            "-addext", "subjectAltName=DNS:line.example,DNS:localhost,IP:127.0.0.1", folder=self.folder)
        return {"certificate": name + ".crt", "key": name + ".key"}


class Service:
    """`ravik serve` on a project, on a free port; it is ended with it."""

    def __init__(self, project, token=None, prepare=None, listen="127.0.0.1:0"):
        self.project = project
        self.token = token
        self.lines = queue.Queue()
        self.log = []
        self.process = subprocess.Popen([PROGRAM, "serve", "--listen", listen], cwd=project.folder, text=True,
                                        stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, preexec_fn=prepare)
        self.reader = threading.Thread(target=self._read)
        self.reader.start()
        self.address = self.wait_for("Listening on ").split()[-1].rstrip("/")
        self.api = self.address + "/api/v1"
        self.tls = None
        if self.address.startswith("https:"):
            self.tls = ssl.create_default_context(cafile=project.path("service.crt"))

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.end()

    def _read(self):
        for line in self.process.stderr:
            self.lines.put(line)
        self.lines.put(None)

    def wait_for(self, fragment):
        """Returns the next line of the log that contains the fragment."""
        while True:
            line = self.lines.get(timeout=PATIENCE)
            if line is None:
                self.end()
                raise AssertionError(f"the service ended without '{fragment}': {''.join(self.log)}")
            self.log.append(line)
            if fragment in line:
                return line

    def end(self, how=signal.SIGTERM):
        """Returns the exit status."""
        if self.process.poll() is None:
            self.process.send_signal(how)
        try:
            return self.process.wait(timeout=PATIENCE)
        finally:
            self.process.kill()
            self.reader.join()
            self.process.stderr.close()

    def ask(self, method, target, body=None, **fields):
        """Returns the status, the header and the body of the answer, which is read as JSON where it is that."""
        request = urllib.request.Request(self.api + target, method=method)
        if self.token:
            request.add_header("Authorization", "Bearer " + self.token)
        if body is not None:
            request.data = body if isinstance(body, bytes) else json.dumps(body).encode()
            request.add_header("Content-Type", "application/json")
        for name, value in fields.items():
            request.add_header(name.replace("_", "-"), value)
        try:
            answer = urllib.request.urlopen(request, timeout=PATIENCE, context=self.tls)
        except urllib.error.HTTPError as error:
            answer = error
        with answer:
            content = answer.read()
            is_json = "json" in answer.headers.get("Content-Type", "")
            return answer.status, answer.headers, json.loads(content) if is_json else content
