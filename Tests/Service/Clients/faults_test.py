#!/usr/bin/python3
"""What a service meets in a plant: a full disk, rubbish, its end in the middle of work, certificates, and careless
settings."""

import asyncio
import concurrent.futures
import json
import os
import pty
import re
import resource
import shutil
import signal
import ssl
import subprocess
import unittest

import websockets

from running_service import PATIENCE, PROGRAM, Project, Service

DEVICE = os.environ["MODBUS_DEVICE"]
SANITIZED = os.environ["SANITIZED"] == "1"


def certificate_of(service):
    host, port = service.address.removeprefix("https://").split(":")
    return ssl.get_server_certificate((host, int(port)), timeout=PATIENCE)


class Device:
    """The example device, each of whose requests takes a while."""

    def __init__(self, milliseconds):
        self.process = subprocess.Popen([DEVICE, "--delay", str(milliseconds)], stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline())

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


def with_line(port):
    """Changes a project to one with the registers R0 to R4 of a device, too far apart to share a request."""
    def change(file):
        file["extensions"].append({"domain": "Line", "library": "libRavikModbus.so",
                                   "configuration": {"host": "127.0.0.1", "port": port}})
        for number in range(5):
            file["symbols"][f"R{number}"] = {"DOMAIN": "Line", "MAPPING": f"holding:{200 * number}:int16",
                                            "USEMAPPING": True, "SCHEMA": {"type": "integer"}}
    return change


class FullDisk(unittest.TestCase):
    """The size of files is limited instead of the disk: that needs no rights."""

    LIMIT = 400_000

    def limit(self):
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (self.LIMIT, self.LIMIT))

    def fill(self, service):
        """Returns the names of the recipes that found a place, and of the one that did not."""
        names = []
        status = 201
        while status == 201:
            names.append(f"R{len(names)}")
            body = {"recipeTypeName": "Dough", "values": {"Product": "x" * 20_000}}
            status, _, answer = service.ask("PUT", "/recipe?name=" + names[-1], body, If_None_Match="*")
        self.assertEqual(status, 507, answer)
        return set(names[:-1]), names[-1]

    def test_writing_is_507_and_reading_goes_on(self):
        with Device(0) as device, Project() as project:
            project.change(lambda file: file["symbols"]["Mixer.Product"].update(SCHEMA={"type": "string"}))
            project.change(with_line(device.port))
            token = project.add_token("client")
            with Service(project, token, prepare=self.limit) as service:
                seven = {"recipeTypeList": {"Register": {"members": {"R0": {"symbol": "R0", "enabled": True}}}},
                         "recipeList": {"Seven": {"recipeTypeName": "Register", "values": {"R0": 7}}}}
                self.assertEqual(service.ask("POST", "/imports", seven)[0], 200)
                self.assertEqual(service.ask("GET", "/readyz")[0], 200)
                names, refused = self.fill(service)
                status, _, answer = service.ask("GET", "/readyz")
                self.assertEqual((status, answer["status"]), (503, "read-only"))
                self.assertIn("could not be stored", answer["text"])
                self.assertEqual(service.ask("GET", "/healthz")[0], 200)
                self.assertTrue(names)
                self.assertEqual(service.ask("GET", "/recipe?name=" + refused)[0], 404)
                self.check_reading(service, names)
                self.fill_with_activations(service)
                # The line must not be out of hand for want of a history.
                status, _, answer = service.ask("POST", "/activations", {"recipe": "Seven"}, Idempotency_Key="full")
                self.assertEqual((status, answer["id"], answer["counts"]["verified"]), (507, None, 1), answer)
                status, _, answer = service.ask("PUT", "/symbol?name=R0", {"value": 8})
                self.assertEqual((status, service.ask("GET", "/symbol?name=R0")[2]["value"]), (200, 8))
                self.assertIn("not remembered", answer["text"])
                self.assertEqual(service.end(), 0)
            with Service(project, token) as service:
                self.assertEqual(service.ask("GET", "/readyz")[0], 200)
                self.check_reading(service, names)
                status, _, answer = service.ask("POST", "/activations", {"recipe": "Bread"}, Idempotency_Key="full")
                self.assertEqual(status, 201, answer)

    def fill_with_activations(self, service):
        """There may be room left for the beginning of a record. Then the simulated controller can't keep its values."""
        for number in range(100):
            key = f"fill {number}"
            status, _, answer = service.ask("POST", "/activations", {"recipe": "Pizza"}, Idempotency_Key=key)
            self.assertEqual((status, answer["outcome"]), (502, "failed"), answer)
            if answer["id"] is None:
                return
        self.fail("the disk did not become full")

    def check_reading(self, service, names):
        _, _, recipes = service.ask("GET", "/recipes")
        self.assertEqual({item["name"] for item in recipes["items"]},
                         {"Bread", "Pizza", "Seven"} | names)
        for target in ("/recipe?name=R0", "/symbol?name=Mixer.Speed", "/history", "/check", "/metrics", "/active"):
            self.assertEqual(service.ask("GET", target)[0], 200, target)


class Memory(unittest.TestCase):
    """What a service needs at the most, whatever rubbish it is to import."""

    # Of brackets and commas. A sanitizer takes memory and time of its own, so that only the answers count there.
    VALUES = 199_000 if SANITIZED else 3_999_000

    def test_rubbish_is_refused_within_a_bound(self):
        too_many = b"[" + b"[]," * ((64 << 20) // 3 - 20)
        bodies = {"lists": (too_many + b"[]]", 413), "an open list": (too_many, 413),
                  "as many lists as there may be": (b"[" + b"[]," * (self.VALUES // 2 - 1) + b"[]]", 422),
                  "as many numbers": (b'{"recipeList":{"a":[' + b"1," * (self.VALUES - 1) + b"1]}}", 422),
                  "names that can't be": (b'{"recipeList":{' + b",".join(
                      b'"[%07d":1' % number for number in range(self.VALUES - 2)) + b"}}", 422),
                  # Each is to be told with its place.
                  "mistakes": ({"recipeList": {f"k{number}": 7 for number in range(20_000)}}, 422)}
        with Project() as project, Service(project, project.add_token("client")) as service:
            for name, (body, expected) in bodies.items():
                with self.subTest(name):
                    status, _, answer = service.ask("POST", "/imports", body)
                    self.assertEqual(status, expected, str(answer)[:300])
                    with open(f"/proc/{service.process.pid}/status", encoding="ascii") as text:
                        peak = int(re.search(r"VmHWM:\s*(\d+) kB", text.read()).group(1))
                    self.assertLessEqual(0 if SANITIZED else peak, 512 << 10)
                    self.assertEqual(service.ask("GET", "/healthz")[0], 200)


class End(unittest.TestCase):
    """SIGTERM while a recipe is activated."""

    def test_sigterm_lets_an_activation_come_to_its_end(self):
        with Device(60) as device, Project() as project:
            project.change(with_line(device.port))
            members = {f"M{number}": {"symbol": f"R{number}", "enabled": True} for number in range(5)}
            project.ravik("import", "-", text=json.dumps({
                "recipeTypeList": {"Slow": {"members": members}},
                "recipeList": {"Slow": {"recipeTypeName": "Slow", "values": dict.fromkeys(members, 10)}}}))
            token = project.add_token("client")
            with Service(project, token) as service:
                status, code, reason = asyncio.run(self.end_while_active(service))
                self.assertEqual((status, code, reason), (201, 1001, "the service ends"))
                self.assertEqual(service.process.wait(timeout=PATIENCE), 0)
            self.assertFalse(os.path.exists(project.path("ravik.sock")))
            record = json.loads(project.ravik("history", "--limit", "1", "--json"))["value"]["rows"][0]
            self.assertEqual((record["action"], record["outcome"]), ("activation", "done"))

    async def end_while_active(self, service):
        """Returns the status of the activation, and how the stream was closed."""
        loop = asyncio.get_running_loop()
        header = {"Authorization": "Bearer " + service.token}
        async with websockets.connect(service.api.replace("http", "ws") + "/events", extra_headers=header) as stream:
            await stream.send('{"symbols": []}')
            revision = json.loads(await stream.recv())["revision"]
            with concurrent.futures.ThreadPoolExecutor() as threads:
                answer = loop.run_in_executor(threads, lambda: service.ask(
                    "POST", "/activations", {"recipe": "Slow"}, Idempotency_Key="end"))
                # Its record is there before the first value is written.
                while json.loads(await asyncio.wait_for(stream.recv(), PATIENCE))["revision"] == revision:
                    pass
                self.assertFalse(answer.done())
                service.process.send_signal(signal.SIGTERM)
                await asyncio.wait_for(loop.run_in_executor(threads, service.wait_for, "ending"), PATIENCE)
                status, _, _ = await asyncio.wait_for(answer, PATIENCE)
                await asyncio.wait_for(stream.wait_closed(), PATIENCE)
                return status, stream.close_code, stream.close_reason


class Certificates(unittest.TestCase):
    """SIGHUP with a new pair, with broken ones, and with halves of two."""

    def test_sighup_takes_a_whole_pair_or_none(self):
        with Project() as project:
            tls = project.make_certificate()
            project.change(lambda file: file.update(service={"tls": tls}))
            with Service(project, project.add_token("client")) as service:
                first = certificate_of(service)
                project.make_certificate()
                second = self.hang_up(service, "was read again")
                self.assertNotEqual(second, first)
                project.make_certificate("second")
                project.make_certificate("third")
                for certificate, key in (("second.crt", "third.key"), ("third.crt", "second.key"),
                                         ("ravik.json", "second.key"), ("second.crt", "ravik.json")):
                    with self.subTest(certificate=certificate, key=key):
                        shutil.copy(project.path(certificate), project.path("service.crt"))
                        shutil.copy(project.path(key), project.path("service.key"))
                        self.assertEqual(self.hang_up(service, "stays as it was"), second)
                self.assertEqual(service.end(), 0)

    @staticmethod
    def hang_up(service, told):
        service.process.send_signal(signal.SIGHUP)
        service.wait_for(told)
        return certificate_of(service)


class Openness(unittest.TestCase):
    """Whom a service lets in before anybody has said who may."""

    def test_nobody_elsewhere_without_tls_and_a_user(self):
        with Project() as project:
            tls = project.make_certificate()
            for listen in ("0.0.0.0:0", "[::]:0"):
                self.check_refused(project, listen, "needs TLS")
            project.change(lambda file: file.update(service={"tls": tls}))
            self.check_refused(project, "0.0.0.0:0", "needs a user")
            project.add_user()
            with Service(project, listen="0.0.0.0:0") as service:
                self.assertEqual(service.end(), 0)
            project.change(lambda file: file.pop("service"))
            self.check_refused(project, "0.0.0.0:0", "needs TLS")

    def check_refused(self, project, listen, told):
        ended = subprocess.run([PROGRAM, "serve", "--listen", listen], cwd=project.folder, capture_output=True,
                               text=True, timeout=PATIENCE)
        self.assertEqual(ended.returncode, 3, ended.stderr)
        self.assertIn(told, ended.stderr)
        self.assertNotIn("Listening", ended.stderr)

    def test_the_start_link_is_for_a_terminal_and_good_once(self):
        with Project() as project:
            with Service(project) as service:
                self.assertEqual(service.ask("GET", "/recipes")[0], 401)
                self.assertEqual(service.end(), 0)
                service.reader.join()
                rest = "".join(iter(lambda: service.lines.get() or "", ""))
                self.assertNotIn("token", "".join(service.log) + rest)
            with TerminalService(project) as service:
                self.use_link(project, service)

    def use_link(self, project, service):
        sign_in = {"token": service.start_token}
        status, header, session = service.ask("POST", "/session", sign_in)
        self.assertEqual((status, session["role"]), (201, "admin"))
        fields = {"Cookie": header["Set-Cookie"].split(";")[0], "X_CSRF_Token": session["csrf"]}
        self.assertEqual(service.ask("GET", "/recipes", **fields)[0], 200)
        self.assertEqual(service.ask("POST", "/session", sign_in)[0], 401)
        self.assertEqual(service.ask("POST", "/users", {"name": "anna", "password": "wheat and rye", "role": "admin"},
                                     **fields)[0], 201)
        self.assertEqual(service.ask("GET", "/recipes", **fields)[0], 401, "the session outlives the first user")


class TerminalService(Service):
    """A service whose messages go to a terminal."""

    def __init__(self, project):
        own, its = pty.openpty()
        self.project = project
        self.token = None
        self.tls = None
        self.process = subprocess.Popen([PROGRAM, "serve", "--listen", "127.0.0.1:0"], cwd=project.folder,
                                        stdin=subprocess.DEVNULL, stderr=its)
        os.close(its)
        self.terminal = os.fdopen(own, "rb", buffering=0)
        text = b""
        while not (link := re.search(rb"(http://\S+)/#token=(\S+)\s", text)):
            text += self.terminal.read(1000)
        self.address, self.start_token = link.group(1).decode(), link.group(2).decode()
        self.api = self.address + "/api/v1"

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        try:
            return self.process.wait(timeout=PATIENCE)
        finally:
            self.process.kill()
            self.terminal.close()


if __name__ == "__main__":
    unittest.main()
