// Writes and reads registers with the npm package modbus-serial, with the fewest requests that touch no others: takes
// the device's port and then lines, each answered by one, as benchmark_modbus does:
//
//     run modbus-serial write|read COUNT STEP PASSES     the seconds of each pass
//     close modbus-serial                                ends the connection
"use strict";

const ModbusRTU = require("modbus-serial");
const readline = require("node:readline");

const port = Number(process.argv[2]);
const mostWritten = 123;
const mostRead = 125;
let client = null;

/// The same values as `Layout::value` gives.
const valuesOf = (count) => Array.from({ length: count }, (_, index) => (7 * index + 1) & 0xffff);

async function connect() {
    client = new ModbusRTU();
    await client.connectTCP("127.0.0.1", { port });
    client.setID(1);
    client.setTimeout(5000);
}

async function run(operation, count, step, passes) {
    const values = valuesOf(count);
    const most = step > 1 ? 1 : operation === "write" ? mostWritten : mostRead;
    const seconds = [];
    for (let pass = 0; pass < passes; ++pass) {
        const read = [];
        const start = process.hrtime.bigint();
        for (let begin = 0; begin < count; begin += most) {
            const size = Math.min(most, count - begin);
            if (operation === "write") {
                await client.writeRegisters(begin * step, values.slice(begin, begin + size));
            } else {
                read.push(...(await client.readHoldingRegisters(begin * step, size)).data);
            }
        }
        seconds.push(Number(process.hrtime.bigint() - start) / 1e9);
        if (operation === "read" && !values.every((value, index) => value === read[index])) {
            throw new Error("wrong values were read");
        }
    }
    return seconds.join(" ");
}

async function answer(line) {
    const [command, , operation, ...numbers] = line.split(" ");
    if (command === "close") {
        await new Promise((resolve) => client.close(resolve));
        client = null;
        return "closed";
    }
    if (client === null) {
        await connect();
    }
    return run(operation, ...numbers.map(Number));
}

async function main() {
    for await (const line of readline.createInterface({ input: process.stdin })) {
        console.log(await answer(line));
    }
}

main().catch((error) => {
    console.error(`modbus_serial.js: ${error.stack}`);
    process.exit(1);
});
