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
