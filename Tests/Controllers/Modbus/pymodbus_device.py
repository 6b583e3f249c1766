"""A Modbus device on pymodbus for the tests: prints its port, serves until its standard input ends.

Every table has the addresses 0 to 1999. Input registers hold their own address, every third discrete input is on.
"""

import asyncio
import logging
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server.async_io import ModbusTcpServer

SIZE = 2000
logging.disable()


async def serve():
    unit = ModbusSlaveContext(
        co=ModbusSequentialDataBlock(0, [False] * SIZE),
        di=ModbusSequentialDataBlock(0, [address % 3 == 0 for address in range(SIZE)]),
        hr=ModbusSequentialDataBlock(0, [0] * SIZE),
        ir=ModbusSequentialDataBlock(0, list(range(SIZE))),
        zero_mode=True,
    )
    server = ModbusTcpServer(ModbusServerContext(slaves=unit, single=True), address=("127.0.0.1", 0))
    serving = asyncio.ensure_future(server.serve_forever())
    await asyncio.wait({serving, server.serving}, return_when=asyncio.FIRST_COMPLETED)
    print(server.server.sockets[0].getsockname()[1], flush=True)
    await asyncio.get_running_loop().run_in_executor(None, sys.stdin.read)
    serving.cancel()


asyncio.run(serve())
