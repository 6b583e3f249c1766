import assert from "node:assert/strict";
import test from "node:test";
import { signIn } from "./support/browser.mjs";
import { password } from "./support/Plant.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

test("people sign in with a password, stay signed in, and sign out", async (t) => {
    const page = await visit(t, plant);
    page.allowed.push(/status of 401/);
    await signIn(page, "engineer", "rye and wheat");
    await page.getByText("The user or the password is wrong.").waitFor();
    await signIn(page, "engineer", password);
    await page.getByRole("treegrid", { name: "Recipes" }).waitFor();
    await page.reload();
    assert.equal(await page.locator(".who .role").textContent(), "engineer");
    await page.getByRole("button", { name: "Sign out" }).click();
    await page.getByRole("button", { name: "Sign in" }).waitFor();
    assert.deepEqual(await page.evaluate(() => Object.keys(localStorage)), []);
});

test("a link with a token is taken where the page is open already, and out of the address", async (t) => {
    const page = await visit(t, plant, { path: "/types" });
    page.allowed.push(/status of 401/);
    await page.getByRole("button", { name: "Sign in" }).waitFor();
    for (const token of ["used", "%"]) {
        await page.evaluate((text) => (location.hash = `#token=${text}`), token);
        await page.getByText("This link has been used or is too old.").waitFor();
        assert.equal(new URL(page.url()).hash, "");
        await page.reload();
    }
});

test("a session that ends in two tabs loses no edit in either, and both go on together", async (t) => {
    const typed = { "Filling::Lemonade330": "331.0", "Filling::Spring500": "501.0" };
    const first = await visit(t, plant, { role: "engineer" });
    first.allowed.push(/status of 401/);
    const tabs = [first, await first.context().newPage()];
    const cell = (page) => page.getByRole("row", { name: /^FillVolume / }).locator(".cell-stored");
    for (const [index, name] of Object.keys(typed).entries()) {
        await tabs[index].goto(`/recipe?name=${name}`);
        await cell(tabs[index]).click();
        await tabs[index].getByRole("textbox", { name: "FillVolume" }).fill(typed[name]);
        await tabs[index].keyboard.press("Enter");
    }
    const type = await first.context().newPage();
    tabs.push(type);
    await type.goto("/type?name=Filling::Carbonated");
    await type
        .getByRole("button", { name: /^Move .* down$/ })
        .first()
        .click();
    await tabs[0].evaluate(() => {
        const headers = { "X-CSRF-Token": localStorage.getItem("ravik.csrf") };
        return fetch("/api/v1/session", { method: "DELETE", headers });
    });
    await Promise.all(tabs.map((page) => page.getByRole("button", { name: "Sign in" }).waitFor()));
    await signIn(tabs[1], "engineer", password);
    for (const [index, text] of Object.values(typed).entries()) {
        await cell(tabs[index]).getByText(text).waitFor();
    }
    await type.getByRole("button", { name: "Save" }).waitFor();
});
