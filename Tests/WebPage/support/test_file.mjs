// What the tests of a file share: a plant, a Chromium, and that both end.
import assert from "node:assert/strict";
import { after } from "node:test";
import { launch, open } from "./browser.mjs";
import { Link } from "./Link.mjs";
import { password, Plant } from "./Plant.mjs";

const launched = launch();
after(async () => (await launched).close());

export async function startPlant(project) {
    const plant = await Plant.start(project);
    after(() => plant.end());
    return plant;
}

/**
 * Opens the page for the test `t` as `open` does, signed in as a `role` where there is one, over a link of its own,
 * `page.link`. Whatever the page complains of fails the test at its end, unless it matches one of `page.allowed`.
 */
export async function visit(t, plant, { role, ...options } = {}) {
    const link = await Link.to(plant.port);
    const errors = [];
    let page;
    t.after(async () => {
        await page?.context().close();
        link.end();
        assert.deepEqual(
            errors.filter((error) => !page?.allowed.some((pattern) => pattern.test(error))),
            [],
        );
    });
    return open(await launched, link.origin, { user: role, password, ...options }, (made) => {
        page = Object.assign(made, { link, allowed: [] });
        collectErrors(page, errors);
    });
}

function collectErrors(page, errors) {
    page.on("pageerror", (error) => errors.push(String(error)));
    // Chromium also tells here what the policy for contents has kept from being loaded.
    page.on("console", (message) => {
        if (["error", "warning"].includes(message.type())) {
            errors.push(`${message.text()} ${message.location().url}`);
        }
    });
}
