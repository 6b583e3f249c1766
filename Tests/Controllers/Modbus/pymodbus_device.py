"""A Modbus device on pymodbus for tests and benchmarks: prints its port, serves until its standard input ends.

usage: pymodbus_device.py [SIZE] [MS]     (the addresses in each table, 2000; how long an answer takes on the line, 0)

Input registers hold their own address, every third discrete input is on.
"""

import asyncio
import logging
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server.async_io import ModbusConnectedRequestHandler, ModbusTcpServer

SIZE = int(sys.argv[1]) if len(sys.argv) > 1 else 2000
LATENCY = float(sys.argv[2]) / 1000 if len(sys.argv) > 2 else 0
logging.disable()


class Handler(ModbusConnectedRequestHandler):
    """Lets answers take their time, several at once."""

    def _send_(self, data):
        if LATENCY > 0:
            asyncio.get_running_loop().call_later(LATENCY, super()._send_, data)
        else:
            super()._send_(data)


async def serve():
    unit = ModbusSlaveContext(
        co=ModbusSequentialDataBlock(0, [False] * SIZE),
        di=ModbusSequentialDataBlock(0, [address % 3 == 0 for address in range(SIZE)]),
        hr=ModbusSequentialDataBlock(0, [0] * SIZE),
        ir=ModbusSequentialDataBlock(0, list(range(SIZE))),
        zero_mode=True,
    )
    server = ModbusTcpServer(ModbusServerContext(slaves=unit, single=True), address=("127.0.0.1", 0), handler=Handler)
    serving = asyncio.ensure_future(server.serve_forever())
    await asyncio.wait({serving, server.serving}, return_when=asyncio.FIRST_COMPLETED)
    print(server.server.sockets[0].getsockname()[1], flush=True)
    await asyncio.get_running_loop().run_in_executor(None, sys.stdin.read)
    serving.cancel()


asyncio.run(serve())
