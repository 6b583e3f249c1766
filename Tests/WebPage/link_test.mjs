import assert from "node:assert/strict";
import test from "node:test";
import { signIn } from "./support/browser.mjs";
import { password } from "./support/Plant.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

for (const [name, lose] of [
    ["cut", (link) => link.cut()],
    ["frozen", (link) => link.freeze()],
]) {
    test(`a link that is ${name} is told, and so is its return`, async (t) => {
        const page = await visit(t, plant, { role: "engineer", path: "/recipes" });
        page.allowed.push(/ERR_|WebSocket/);
        await page.getByText("● linked").waitFor();
        await page.getByRole("treegrid").waitFor();
        lose(page.link);
        await page.getByRole("alert").getByText("Link lost.").waitFor({ timeout: 3000 });
        page.link.restore();
        await page.getByText("● linked").waitFor();
        await page.getByRole("alert").waitFor({ state: "detached" });
    });
}

test("what is active is no longer told as known once its controller is silent", async (t) => {
    await plant.activate("Products::Cola1500");
    const page = await visit(t, plant, { role: "operator", path: "/operator?folder=Products" });
    const mark = page.getByRole("button", { name: "Cola1500" }).getByText("● active");
    await mark.waitFor();
    plant.filler.freeze();
    await mark.waitFor({ state: "detached" });
    plant.filler.thaw();
    await mark.waitFor();
});

test("nobody who signs in is told of a lost link", async (t) => {
    const page = await visit(t, plant, { path: "/recipes" });
    await page.clock.install();
    await page.clock.runFor(60_000);
    await page.evaluate(() => {
        const look = () => document.querySelector(".link-bar") && (globalThis.wasLost = true);
        new MutationObserver(look).observe(document.body, { subtree: true, childList: true });
    });
    await signIn(page, "viewer", password);
    await page.getByText("● linked").waitFor();
    assert.equal(await page.evaluate(() => globalThis.wasLost), undefined);
});

test("a tab that wakes up shows nothing of before as current", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/recipe?name=Filling::Lemonade330" });
    page.allowed.push(/ERR_|WebSocket/);
    const live = page.getByRole("row", { name: /^FillVolume / }).locator(".live");
    await live.getByText("ml").waitFor();
    assert.equal(await page.locator(".live.stale").count(), 0);
    // Nothing reaches the tab while it sleeps, and its clock has gone on when it wakes up.
    page.link.freeze();
    await page.evaluate(() => {
        const now = Date.now.bind(Date);
        Date.now = () => now() + 60_000;
        document.dispatchEvent(new Event("visibilitychange"));
    });
    await page
        .locator(".live.stale")
        .getByText(/1 min old/)
        .first()
        .waitFor({ timeout: 2000 });
    page.link.restore();
    await page.locator(".live.stale").first().waitFor({ state: "detached" });
});
