#!/usr/bin/python3
"""documentation_test.py DOCUMENT EXAMPLES: does what the document tells, in a folder of its own.

Its blocks of shell are run one after the other; what stands behind "ravik serve &" is run while the service runs, with
the settings of the one JSON block. Each curl has to be answered with the status that stands behind it as "# 200", and
every route of the service has to occur.
"""

import json
import os
import re
import subprocess
import sys
import tempfile

from running_service import PASSWORD, PATIENCE, PROGRAM, Service

# Stand-ins that the blocks find first: they answer the question for a password, and note each answer of the service.
PREAMBLE = """set -euo pipefail
ravik() { command ravik "$@" <<<"$PASSWORD"; }
curl() {
    local ended=0
    command curl --write-out '%{stderr}%{http_code} %{method} %{url_effective}\\n' "$@" 2>"$ANSWERS" || ended=$?
    return $ended
}
expect() {
    local status method address
    read -r status method address < <(tail -n 1 "$ANSWERS")
    rm "$ANSWERS"
    printf '%s %s\\n' "$method" "$address" >>"$ANSWERS.all"
    if [[ $status != "$1" ]]; then
        printf 'line %s: %s instead of %s: %s %s\\n' "$2" "$status" "$1" "$method" "$address" >&2
        exit 1
    fi
}
"""


def blocks(text, language):
    """Yields the blocks of the language, each with the number of its first line."""
    for block in re.finditer(r"^```" + language + r"\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
        yield text.count("\n", 0, block.start()) + 2, block.group(1)


def script(text):
    """The blocks of shell as a script that looks at each status."""
    lines = []
    for number, block in blocks(text, "sh"):
        begun = ""
        for offset, line in enumerate(block.splitlines()):
            lines.append(line)
            begun += line
            if line.endswith("\\"):
                continue
            status = re.search(r"# (\d{3})$", line)
            assert status or not re.search(r"(^|\(|\s)curl ", begun), f"line {number + offset} tells no status"
            if status:
                lines.append(f"expect {status.group(1)} {number + offset}")
            begun = ""
    return "\n".join(lines) + "\n"


def run_script(text, folder):
    environment = {**os.environ, "PASSWORD": PASSWORD, "ANSWERS": os.path.join(folder, "answers"),
                   "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"]}
    ended = subprocess.run(["bash", "-c", PREAMBLE + text], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                           capture_output=True, text=True, timeout=PATIENCE)
    assert ended.returncode == 0, ended.stderr + ended.stdout[-2000:]


class Place:
    """What a Service takes for a project."""

    def __init__(self, folder):
        self.folder = folder

    def path(self, name):
        return os.path.join(self.folder, name)


def take_settings(folder, text):
    (_, settings), = blocks(text, "json")
    file = os.path.join(folder, "ravik.json")
    with open(file, encoding="utf-8") as stream:
        project = json.load(stream)
    project.update(json.loads("{" + settings + "}"))
    with open(file, "w", encoding="utf-8") as stream:
        json.dump(project, stream)


def check_routes(service, folder):
    """Every route of the description was asked for."""
    with open(os.path.join(folder, "answers.all"), encoding="utf-8") as stream:
        asked = {re.sub(r"https://[^/]*(/api/v1)?([^?\n]*).*", r"\2", line.strip()) for line in stream}
    _, _, description = service.ask("GET", "/openapi.json")
    for path, operations in description["paths"].items():
        pattern = re.sub(r"\\?\{id\\?\}", r"\\d+", re.escape(path))
        for method in operations:
            assert any(re.fullmatch(method.upper() + " " + pattern, each) for each in asked), \
                f"{method.upper()} {path} has no example"


def main():
    document, examples = sys.argv[1:]
    with open(document, encoding="utf-8") as stream:
        text = stream.read()
    before, after = script(text).split("ravik serve &\n")
    with tempfile.TemporaryDirectory(prefix="ravik-test-") as folder:
        run_script(before, folder)
        project = Place(os.path.join(folder, "line"))
        take_settings(project.folder, text)
        with Service(project) as service:
            port = service.address.rsplit(":", 1)[1]
            after = after.replace("localhost:8420", "localhost:" + port).replace("Examples/", examples + "/")
            run_script(after, project.folder)
            check_routes(service, project.folder)


if __name__ == "__main__":
    main()
