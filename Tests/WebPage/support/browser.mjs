import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import { chromium } from "playwright-core";

/** Debian's Chromium. */
export function launch() {
    return chromium.launch({
        executablePath: "/usr/bin/chromium",
        // Root can't have it.
        chromiumSandbox: process.getuid() !== 0,
        args: [
            "--disable-gpu",
            "--disable-quic",
            "--no-first-run",
            "--disable-background-networking",
            "--disable-component-update",
            "--disable-sync",
        ],
    });
}

/** Opens a path of the page that is served at `origin` in a context of its own, signed in where a user is given. */
export async function open(browser, origin, { user, password, path = "/", ...options }, prepare = () => {}) {
    const storageState = user ? await signedIn(origin, user, password) : undefined;
    const context = await browser.newContext({ baseURL: origin, storageState, ...options });
    context.setDefaultTimeout(10_000);
    const page = await context.newPage();
    prepare(page);
    await page.goto(path);
    return page;
}

/** What a browser holds whose user has signed in. */
async function signedIn(origin, user, password) {
    const answer = await fetch(`${origin}/api/v1/session`, {
        method: "POST",
        headers: { "Content-Type": "application/json", Origin: origin },
        body: JSON.stringify({ user, password }),
    });
    assert.equal(answer.status, 201);
    const [, name, value] = /^([^=]+)=([^;]+)/.exec(answer.headers.getSetCookie()[0]);
    const { csrf } = await answer.json();
    const place = { domain: "127.0.0.1", path: "/", expires: -1 };
    return {
        cookies: [{ name, value, ...place, httpOnly: true, secure: true, sameSite: "Strict" }],
        origins: [{ origin, localStorage: [{ name: "ravik.csrf", value: csrf }] }],
    };
}

/** Through the form, as people do. */
export async function signIn(page, user, password) {
    await page.getByLabel("User", { exact: true }).fill(user);
    await page.getByLabel("Password", { exact: true }).fill(password);
    await page.getByRole("button", { name: "Sign in" }).click();
}

const axe = await readFile(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

/** What axe finds in the page as it stands: empty where all is well. */
export async function accessibilityFindings(page) {
    // Evaluated, since the page's policy lets in no script of others.
    await page.evaluate(axe);
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    return violations.flatMap(({ id, nodes }) => nodes.map((node) => `${id}: ${node.html} ${node.failureSummary}`));
}
