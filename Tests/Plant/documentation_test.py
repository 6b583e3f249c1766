#!/usr/bin/python3
"""documentation_test.py DOCUMENT: does what the document tells, section by section, with clusters of its own."""

import json
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

from clusters import PATIENCE, Cluster, run

RAVIK = os.path.realpath(os.environ["RAVIK"])
DOCUMENT = sys.argv.pop()

# Stand-ins that the blocks find first: they are an administrator's programs, and answer the question for a password.
PREAMBLE = """set -euo pipefail
administrator() { PGHOST=$SOCKETS PGPORT=$PORT PGUSER=postgres command "$@"; }
createuser() { printf 'PASSWORD\\nPASSWORD\\n' | administrator setsid --wait createuser "$@"; }
createdb() { administrator createdb "$@"; }
pg_dump() { administrator pg_dump "$@"; }
pg_restore() { administrator pg_restore "$@"; }
"""


def blocks(language, heading):
    """The blocks of the language in the section of that heading."""
    with open(DOCUMENT, encoding="utf-8") as file:
        section = re.search(r"^#+ " + heading + r"\n(.*?)(^#+ |\Z)", file.read(), re.MULTILINE | re.DOTALL).group(1)
    return [block.group(1) for block in re.finditer(r"^```" + language + r"\n(.*?)^```$", section,
                                                    re.MULTILINE | re.DOTALL)]


class Line:
    """A line whose ravik.json holds the settings of a block, with the clusters in the places of the hosts."""

    def __init__(self, name, settings, clusters, home):
        self.name = name
        self.folder = os.path.join(home, name)
        self.environment = {**os.environ, "HOME": home, "PATH": os.path.dirname(RAVIK) + ":" + os.environ["PATH"]}
        self.ravik("init", self.folder, folder=home)
        self.set(settings, clusters)

    def set(self, settings, clusters):
        hosts = ",".join("localhost" for _ in clusters) + " port=" + ",".join(cluster.port for cluster in clusters)
        settings = re.sub(r"host=\S+", "host=" + hosts, settings)
        settings = re.sub(r"sslrootcert=[^ \"]+", "sslrootcert=" + clusters[0].folder + "/ca.crt", settings)
        file = os.path.join(self.folder, "ravik.json")
        with open(file, encoding="utf-8") as stream:
            project = json.load(stream)
        project.update(json.loads("{" + settings + "}"))
        with open(file, "w", encoding="utf-8") as stream:
            json.dump(project, stream)

    def ravik(self, *words, folder=None):
        return run(RAVIK, *words, cwd=folder or self.folder, env=self.environment)

    def status(self):
        # It fails where nothing can be edited.
        ended = subprocess.run([RAVIK, "--json", "library", "status"], cwd=self.folder, env=self.environment,
                               capture_output=True, text=True, timeout=PATIENCE)
        return json.loads(ended.stdout)["value"]

    def speed(self):
        return json.loads(self.ravik("get", SPEED))

    def block(self, text, cluster):
        environment = {**self.environment, "SOCKETS": cluster.folder, "PORT": cluster.port}
        return run("bash", "-c", PREAMBLE + text, cwd=self.folder, env=environment)


SPEED = "recipeList::Bread::values::Speed"


class Plant(unittest.TestCase):
    def setUp(self):
        self.home = self.enterContext(tempfile.TemporaryDirectory(prefix="ravik-test-"))
        self.cluster = self.enterContext(Cluster())
        self.admin, self.pass_file, self.join = blocks("sh", "Set up")
        self.settings, = blocks("json", "Set up")

    def make_lines(self):
        one = Line("line-1", self.settings, [self.cluster], self.home)
        one.block(self.admin, self.cluster)
        one.block(self.pass_file.replace("db1.example", "localhost"), self.cluster)
        one.ravik("import", "recipes.json")
        self.assertIn("following", one.block(self.join, self.cluster))
        two = Line("line-2", self.settings, [self.cluster], self.home)
        two.ravik("library", "join", "line-2")
        return one, two

    def edit(self, line, speed):
        line.ravik("set", SPEED, str(speed))

    def expect(self, state, speed, *lines):
        """Insists that each line comes to that state, and then has that speed in its recipe."""
        for line in lines:
            end = time.monotonic() + PATIENCE
            while (status := line.status())["state"] != state and time.monotonic() < end:
                pass
            self.assertEqual((status["state"], line.speed()), (state, speed), f"{line.name}: {status}")

    def expect_refused(self, line):
        with self.assertRaises(AssertionError):
            self.edit(line, 1.0)

    def test_lines_share_recipes_and_go_on_alone(self):
        one, two = self.make_lines()
        self.edit(two, 130.0)
        self.expect("following", 130.0, one, two)
        self.cluster.stop()
        self.expect_refused(one)
        self.expect("alone", 130.0, one)
        one.ravik("activate", "Bread")
        self.cluster.start()
        self.edit(one, 140.0)
        self.expect("following", 140.0, two)
        two.ravik("library", "leave")
        self.edit(two, 150.0)
        self.expect("not joined", 150.0, two)
        self.expect("following", 140.0, one)

    def test_lines_ahead_of_a_restored_database_stop_until_somebody_decides(self):
        dump, restore = blocks("sh", "Backup")
        one, two = self.make_lines()
        self.edit(one, 130.0)
        one.block(dump, self.cluster)
        self.edit(two, 140.0)
        self.expect("following", 140.0, one, two)
        one.block(restore, self.cluster)
        self.expect("stopped", 140.0, one, two)
        self.expect_refused(one)
        one.ravik("library", "join", "--ours")
        self.expect("following", 140.0, one)
        self.edit(one, 150.0)
        self.expect("stopped", 140.0, two)
        two.ravik("library", "join", "--theirs")
        self.expect("following", 150.0, one, two)

    def test_a_lost_database_is_made_anew_of_the_lines_copies(self):
        one, two = self.make_lines()
        self.edit(one, 130.0)
        with Cluster() as another:
            one.block(self.admin, another)
            for line in (one, two):
                line.set(self.settings, [another])
            self.expect("stopped", 130.0, one)
            one.ravik("library", "init")
            one.ravik("library", "join")
            two.ravik("library", "join", "--theirs")
            self.expect("following", 130.0, one, two)

    def test_a_restored_store_catches_up(self):
        one, two = self.make_lines()
        two.ravik("store", "backup", "backup.db")
        self.edit(one, 130.0)
        self.expect("following", 130.0, two)
        two.ravik("store", "restore", "--force", "backup.db")
        self.expect("following", 130.0, two)

    def test_lines_go_over_to_a_promoted_standby(self):
        settings, = blocks("json", "A standby")
        one, two = self.make_lines()
        with Cluster(self.cluster) as standby:
            for line in (one, two):
                line.set('"library": {' + settings + '}', [self.cluster, standby])
            self.edit(one, 130.0)
            self.expect("following", 130.0, two)
            # What the standby does not have any more.
            standby.stop("fast")
            self.edit(one, 140.0)
            self.cluster.stop()
            standby.start()
            self.expect("alone", 140.0, one)
            standby.promote()
            self.expect("following", 130.0, two)
            self.expect("stopped", 140.0, one)
            one.ravik("library", "join", "--theirs")
            self.edit(one, 150.0)
            self.expect("following", 150.0, two)

    def test_a_line_needs_no_more_rights_than_are_told(self):
        before, after = blocks("sql", "Rights")
        one = Line("line-1", self.settings, [self.cluster], self.home)
        self.cluster.sql("CREATE DATABASE recipes TEMPLATE template0 ENCODING 'UTF8'")
        self.cluster.sql(before, "recipes")
        self.cluster.sql("ALTER ROLE ravik PASSWORD 'PASSWORD'; ALTER ROLE ravik_owner PASSWORD 'PASSWORD'")
        one.block(self.pass_file.replace("db1.example", "localhost").replace("ravik", "*"), self.cluster)
        one.set(self.settings.replace("user=ravik", "user=ravik_owner"), [self.cluster])
        one.ravik("library", "init")
        one.set(self.settings, [self.cluster])
        self.cluster.sql(after, "recipes")
        one.ravik("library", "join", "line-1")
        one.ravik("import", "recipes.json")
        one.ravik("delete", "recipeList::Bread")
        one.ravik("library", "leave")


if __name__ == "__main__":
    unittest.main()
