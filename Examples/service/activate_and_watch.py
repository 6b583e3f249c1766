#!/usr/bin/python3
"""Activates a recipe of a running service by a plan, and watches the values of its symbols.

    activate_and_watch.py [--ca FILE] --token FILE [--note TEXT] [--values N] SERVICE RECIPE

SERVICE is an address such as https://line.example:8420, and the file of --ca holds the certificate that it is known by.
The file of --token holds a token for the role operator: `ravik token add NAME --role operator`. It shows the plan, asks
(on a terminal) whether to write, writes, tells what became of each symbol, and then shows every change of a value until
Ctrl+C, or until N were shown. The exit status is 0 where all stands as the recipe says, 1 where it does not, and 2 for
wrong usage.

It needs Python 3.9 and, for the stream, the Debian package python3-websockets.
"""

import argparse
import asyncio
import http.client
import json
import ssl
import sys
import time
import urllib.error
import urllib.request
import uuid

import websockets


class Refused(Exception):
    """An answer that tells why something was not done."""


class Service:
    """The API of a service, as far as it is needed here."""

    def __init__(self, address, token, ca):
        self.api = address.rstrip("/") + "/api/v1"
        self.token = token
        self.tls = ssl.create_default_context(cafile=ca) if address.startswith("https:") else None

    def headers(self):
        return {"Authorization": "Bearer " + self.token}

    def post(self, path, body, **headers):
        """Returns the status and the body of the answer; raises Refused where it tells of nothing that was done."""
        request = urllib.request.Request(self.api + path, json.dumps(body).encode(), method="POST")
        for name, value in {**self.headers(), "Content-Type": "application/json", **headers}.items():
            request.add_header(name, value)
        try:
            with urllib.request.urlopen(request, context=self.tls, timeout=120) as answer:
                return answer.status, json.load(answer)
        except urllib.error.HTTPError as error:
            problem = json.load(error)
            if "rows" in problem:
                return error.code, problem
            raise Refused(f"{problem['code']}: {problem['detail']}") from None

    def activate(self, body):
        """Under one key, so that an activation whose answer is lost on the way is not made twice."""
        key = str(uuid.uuid4())
        for attempt in range(5):
            try:
                return self.post("/activations", body, **{"Idempotency-Key": key})
            except (OSError, http.client.HTTPException) as error:
                print(f"No answer ({error}); asking again.", file=sys.stderr)
                time.sleep(2**attempt)
            except Refused as refused:
                # The first request got through, and only its answer did not.
                if not str(refused).startswith("STILL_RUNNING"):
                    raise
                time.sleep(2**attempt)
        raise Refused("the service can't be reached; its history tells whether the recipe was activated")

    async def messages(self, symbols):
        """Yields what the stream tells of the symbols, the first time all their values."""
        address = self.api.replace("http", "ws", 1) + "/events"
        async with websockets.connect(address, extra_headers=self.headers(), ssl=self.tls) as stream:
            await stream.send(json.dumps({"symbols": symbols}))
            while True:
                # A message comes every second, so whoever hears none has lost the link.
                yield json.loads(await asyncio.wait_for(stream.recv(), 5))


def show_rows(rows):
    for row in rows:
        print(f"  {row['symbol']:<28} {json.dumps(row['value']):<16} {row['state']} {row['text']}".rstrip())


def activate(service, recipe, note):
    """Plans, asks and activates. Returns whether all stands as asked, and the recipe's symbols."""
    _, plan = service.post("/plans", {"recipe": recipe})
    print(f"Plan for {recipe}: " + ", ".join(f"{count} {state}" for state, count in plan["counts"].items() if count))
    show_rows(row for row in plan["rows"] if row["state"] != "same")
    if sys.stdin.isatty() and input("Write it? [y/N] ").strip().lower() != "y":
        raise Refused("nothing was written")
    status, outcome = service.activate({"recipe": recipe, "plan": plan["id"], "note": note})
    print(f"Activation {outcome.get('id', '')}: {outcome['outcome']}")
    show_rows(outcome["rows"])
    return status == 201, [row["symbol"] for row in plan["rows"]]


async def watch(service, symbols, most):
    count = 0
    async for message in service.messages(symbols):
        for name, symbol in message["values"].items():
            if symbol["quality"] == "unknown":
                # Nobody has watched it until now, so it has yet to be read.
                continue
            value = json.dumps(symbol["value"])
            print(f"{time.strftime('%H:%M:%S')} {name} = {value} ({symbol['quality']})", flush=True)
            count += 1
            if count == most:
                return


def read_arguments():
    parser = argparse.ArgumentParser(description="Activates a recipe of a running service and watches its values.")
    parser.add_argument("--ca", metavar="FILE", help="the certificate that the service is known by")
    parser.add_argument("--token", metavar="FILE", required=True, help="the file that holds the token")
    parser.add_argument("--note", default="", help="kept with the activation's record")
    parser.add_argument("--values", metavar="N", type=int, default=0, help="ends after so many values")
    parser.add_argument("service", metavar="SERVICE", help="such as https://line.example:8420")
    parser.add_argument("recipe", metavar="RECIPE")
    return parser.parse_args()


def main():
    arguments = read_arguments()
    with open(arguments.token, encoding="ascii") as file:
        service = Service(arguments.service, file.read().strip(), arguments.ca)
    try:
        stands, symbols = activate(service, arguments.recipe, arguments.note)
        asyncio.run(watch(service, symbols, arguments.values))
    except KeyboardInterrupt:
        print()
    except (Refused, OSError, asyncio.TimeoutError, websockets.WebSocketException) as error:
        print(f"activate_and_watch: {error or 'the link is lost'}", file=sys.stderr)
        return 1
    return 0 if stands else 1


if __name__ == "__main__":
    sys.exit(main())
