#!/usr/bin/python3
"""foreign_test.py CLASS: clients that nobody here wrote. Clients are curl, Python's urllib and websockets and openssl's
s_client; Promtool is that."""

import asyncio
import http.cookiejar
import json
import os
import subprocess
import unittest
import urllib.request

import websockets

from running_service import PASSWORD, PATIENCE, Project, Service, run

EXAMPLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../../Examples/service/activate_and_watch.py")


class OnService(unittest.TestCase):
    """Tests on one service with TLS."""

    @classmethod
    def setUpClass(cls):
        cls.project = Project({"names": ["line.example"], "poll": "100 ms"})
        cls.addClassCleanup(cls.project.__exit__)
        tls = cls.project.make_certificate()
        cls.project.change(lambda file: file["service"].update(tls=tls))
        cls.project.add_user()
        cls.service = Service(cls.project, cls.project.add_token("client"))
        cls.addClassCleanup(cls.service.end)
        cls.host = cls.service.address.removeprefix("https://")

    def metrics(self):
        status, header, body = self.service.ask("GET", "/metrics")
        self.assertEqual((status, header["Content-Type"]), (200, "text/plain; version=0.0.4; charset=utf-8"))
        return body.decode()


class Clients(OnService):
    def curl(self, *words, text=None):
        return run("curl", "--silent", "--show-error", "--cacert", self.project.path("service.crt"), "--header",
                   "Authorization: Bearer " + self.service.token, *words, folder=self.project.folder, text=text)

    # curl -------------------------------------------------------------------------------------------------------------

    def test_curl_keeps_its_connection(self):
        target = self.service.api + "/recipe?name=Bread"
        told = self.curl("--write-out", "%{http_code} %{http_version} %{num_connects}\n", "--output", "/dev/null",
                         "--output", "/dev/null", target, target)
        self.assertEqual(told.splitlines(), ["200 1.1 1", "200 1.1 0"])

    def test_curl_sends_large_bodies_in_its_ways(self):
        # Above a megabyte curl asks first whether it may.
        for name, way in {"Asked": [], "Chunked": ["--header", "Transfer-Encoding: chunked"],
                          "Unasked": ["--header", "Expect:"]}.items():
            with self.subTest(name):
                recipe = {"recipeTypeName": "Dough", "values": {"Speed": 1.0}}
                text = " " * (1 << 20) + json.dumps({"recipeList": {name: recipe}})
                self.curl("--fail", "--json", "@-", *way, self.service.api + "/imports", text=text)
                self.assertEqual(self.service.ask("GET", "/recipe?name=" + name)[2], recipe)

    # urllib -----------------------------------------------------------------------------------------------------------

    def test_urllib_signs_in_with_a_cookie(self):
        cookies = http.cookiejar.CookieJar()
        opener = urllib.request.build_opener(urllib.request.HTTPSHandler(context=self.service.tls),
                                             urllib.request.HTTPCookieProcessor(cookies))
        address = self.service.api + "/session"
        body = json.dumps({"user": "anna", "password": PASSWORD}).encode()
        with opener.open(urllib.request.Request(address, body, {"Content-Type": "application/json"})) as answer:
            csrf = json.load(answer)["csrf"]
        cookie, = cookies
        self.assertTrue(cookie.secure and cookie.name.startswith("__Host-ravik-") and cookie.path == "/")
        with opener.open(urllib.request.Request(address, headers={"X-CSRF-Token": csrf})) as answer:
            self.assertEqual(json.load(answer)["user"], "user:anna")
        with self.assertRaises(urllib.error.HTTPError) as refused:
            opener.open(address)
        self.assertEqual(refused.exception.status, 403)
        refused.exception.close()

    # websockets -------------------------------------------------------------------------------------------------------

    def stream(self, **options):
        options.setdefault("extra_headers", {"Authorization": "Bearer " + self.service.token})
        return websockets.connect("wss://" + self.host + "/api/v1/events", ssl=self.service.tls, **options)

    def test_websockets_hear_of_values_and_edits(self):
        async def listen():
            async with self.stream() as stream:
                await stream.send(json.dumps({"symbols": ["Mixer.Speed", "Mixer.Nothing"]}))
                first = json.loads(await stream.recv())
                self.assertEqual(set(first["values"]), {"Mixer.Speed", "Mixer.Nothing"})
                loop = asyncio.get_running_loop()
                ask = self.service.ask
                status, _, _ = await loop.run_in_executor(
                    None, lambda: ask("PUT", "/symbol?name=Mixer.Speed", {"value": 77.25}))
                self.assertEqual(status, 200)
                message = first
                while message["values"].get("Mixer.Speed", {}).get("value") != 77.25:
                    message = json.loads(await asyncio.wait_for(stream.recv(), PATIENCE))
                self.assertEqual(message["values"]["Mixer.Speed"]["quality"], "good")
                revision = message["revision"]["configuration"]
                await loop.run_in_executor(None, lambda: ask("POST", "/folder?name=Heard"))
                while message["revision"]["configuration"] == revision:
                    message = json.loads(await asyncio.wait_for(stream.recv(), PATIENCE))
                await asyncio.wait_for(await stream.ping(), PATIENCE)
            self.assertEqual(stream.close_code, 1000)

        asyncio.run(listen())

    def run_example(self, token):
        with open(self.project.path("token"), "w", encoding="ascii") as file:
            file.write(token + "\n")
        return subprocess.run([EXAMPLE, "--ca", "service.crt", "--token", "token", "--values", "4",
                               self.service.address, "Pizza"], cwd=self.project.folder, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=PATIENCE)

    def test_the_example_activates_and_watches(self):
        ended = self.run_example(self.service.token)
        self.assertEqual(ended.returncode, 0, ended.stderr)
        self.assertRegex(ended.stdout, r"(?s)Plan for Pizza: .*Activation \d+: done.*Mixer.Speed = 150.0 \(good\)")
        ended = self.run_example("guessed")
        self.assertEqual(ended.returncode, 1)
        self.assertIn("UNAUTHORIZED", ended.stderr)

    # openssl s_client -------------------------------------------------------------------------------------------------

    def s_client(self, *words):
        ended = subprocess.run(["openssl", "s_client", "-connect", self.host, "-verify_return_error",
                                "-CAfile", self.project.path("service.crt"), *words],
                               input="", capture_output=True, text=True, timeout=PATIENCE)
        return ended.returncode, ended.stdout + ended.stderr

    def test_s_client_speaks_new_protocols_alone(self):
        # Without the lower security level s_client itself would refuse 1.1.
        cases = [("-tls1_3", 0, "New, TLSv1.3"), ("-tls1_2", 0, "New, TLSv1.2"),
                 ("-tls1_1", 1, "alert protocol version"), ("-tls1", 1, "alert protocol version")]
        for version, status, told in cases:
            with self.subTest(version):
                ended, text = self.s_client(version, "-cipher", "DEFAULT@SECLEVEL=0")
                self.assertEqual(ended, status, text)
                self.assertIn(told, text)

    def test_s_client_is_offered_no_other_protocol(self):
        cases = [("http/1.1", 0, "ALPN protocol: http/1.1"), ("h2,http/1.1", 0, "ALPN protocol: http/1.1"),
                 ("h2", 1, "alert no application protocol")]
        for offered, status, told in cases:
            with self.subTest(offered):
                ended, text = self.s_client("-alpn", offered)
                self.assertEqual(ended, status, text)
                self.assertIn(told, text)

    # Metrics ----------------------------------------------------------------------------------------------------------

    def samples(self):
        return dict(line.rsplit(" ", 1) for line in self.metrics().splitlines() if not line.startswith("#"))

    def test_metrics_count_requests_and_days(self):
        before, after = self.samples(), self.samples()
        self.assertEqual(int(after["ravik_http_requests_total"]), int(before["ravik_http_requests_total"]) + 1)
        days = float(after['ravik_certificate_ends_in{unit="days"}'])
        self.assertTrue(29 < days <= 30, days)


class Promtool(OnService):
    def test_promtool_finds_no_fault(self):
        run(os.environ["PROMTOOL"], "check", "metrics", text=self.metrics())


if __name__ == "__main__":
    unittest.main()
