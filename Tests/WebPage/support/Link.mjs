import { once } from "node:events";
import { connect, createServer } from "node:net";

/** The network between a browser and the service: a port of its own that leads there. */
export class Link {
    #server;
    #pairs = new Set();
    #state = "whole";

    static async to(port) {
        const link = new Link();
        link.#server = createServer((near) => link.#join(near, port)).listen(0, "127.0.0.1");
        await once(link.#server, "listening");
        link.origin = `http://127.0.0.1:${link.#server.address().port}`;
        return link;
    }

    /** Ends all connections, and every new one at once. */
    cut() {
        this.#state = "cut";
        this.#pairs.forEach((pair) => pair.forEach((socket) => socket.destroy()));
    }

    /** Like a cable that is pulled: connections stay, and nothing gets through. */
    freeze() {
        this.#state = "frozen";
        this.#pairs.forEach((pair) => pair.forEach((socket) => socket.pause()));
    }

    restore() {
        this.#state = "whole";
        this.#pairs.forEach((pair) => pair.forEach((socket) => socket.resume()));
    }

    end() {
        this.cut();
        this.#server.close();
    }

    #join(near, port) {
        if (this.#state === "cut") {
            near.destroy();
            return;
        }
        const pair = [near, connect(port, "127.0.0.1")];
        this.#pairs.add(pair);
        pair.forEach((socket, index) => {
            const other = pair[1 - index];
            socket.setNoDelay().on("error", () => {});
            socket.on("data", (bytes) => other.write(bytes));
            socket.on("end", () => other.end());
            socket.on("close", () => {
                other.destroy();
                this.#pairs.delete(pair);
            });
            if (this.#state === "frozen") {
                socket.pause();
            }
        });
    }
}
