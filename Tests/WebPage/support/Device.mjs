import { once } from "node:events";
import { connect } from "node:net";
import { deviceProgram, Process } from "./Process.mjs";

/** The example's Modbus device: it can be switched off and on, or stop to answer, at the same port. */
export class Device {
    #options;
    #process;
    port = 0;

    static async start(...options) {
        const device = new Device();
        device.#options = options;
        await device.switchOn();
        return device;
    }

    /** Its registers start as 0 again. */
    async switchOn() {
        this.#process = new Process(deviceProgram, ["--port", String(this.port), ...this.#options]);
        this.port = Number((await this.#process.printed(/^(\d+)\n/))[1]);
    }

    async switchOff() {
        await this.#process.end();
    }

    /** Its connections stay, and nothing is answered any more. */
    freeze() {
        this.#process.signal("SIGSTOP");
    }

    thaw() {
        this.#process.signal("SIGCONT");
    }

    /** The holding registers from there on, as numbers of 16 bits. */
    async read(first, count = 1) {
        const answer = await this.#ask(Buffer.from([3, first >> 8, first, count >> 8, count]));
        return Array.from({ length: count }, (_, index) => answer.readUInt16BE(2 + 2 * index));
    }

    async write(first, ...words) {
        const values = words.flatMap((word) => [word >> 8, word]);
        await this.#ask(Buffer.from([16, first >> 8, first, 0, words.length, values.length, ...values]));
    }

    async #ask(request) {
        const socket = connect(this.port, "127.0.0.1");
        try {
            socket.write(Buffer.concat([Buffer.from([0, 1, 0, 0, 0, request.length + 1, 1]), request]));
            const [bytes] = await once(socket, "data");
            if (bytes[7] !== request[0]) {
                throw new Error(`the device refuses the request with the exception ${bytes[8]}`);
            }
            return bytes.subarray(7);
        } finally {
            socket.destroy();
        }
    }
}
