import assert from "node:assert/strict";
import test from "node:test";
import { accessibilityFindings, signIn } from "./support/browser.mjs";
import { password } from "./support/Plant.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

async function addUser(page, name, role) {
    await page.getByRole("button", { name: "Add a user" }).click();
    await page.getByLabel("Name", { exact: true }).fill(name);
    await page.getByLabel("Password", { exact: true }).fill(password);
    await page.getByLabel("Password, once more").fill(password);
    await page.getByLabel("Role").selectOption(role);
    await page.getByRole("button", { name: "Add the user" }).click();
    await page.getByRole("button", { name: `Remove the user ${name}` }).waitFor();
}

function role(page) {
    return page.locator(".who .role").textContent();
}

test("an admin adds a user, who gives himself another password and gets another role", async (t) => {
    const admin = await visit(t, plant, { role: "admin", path: "/users" });
    await addUser(admin, "anna", "viewer");
    assert.deepEqual(await accessibilityFindings(admin), []);

    const anna = await visit(t, plant, { role: "anna" });
    anna.allowed.push(/status of 401/, /WebSocket/);
    await anna.getByRole("button", { name: "anna: another password" }).click();
    assert.deepEqual(await accessibilityFindings(anna), []);
    await anna.getByLabel("Old password").fill("rye and wheat");
    await anna.getByLabel("New password", { exact: true }).fill("oats and barley");
    await anna.getByLabel("New password, once more").fill("oats and rye");
    await anna.getByText("The two are not the same.").waitFor();
    await anna.getByLabel("New password, once more").fill("oats and barley");
    await anna.getByRole("button", { name: "Change the password" }).click();
    await anna.getByText("The old password is wrong.").waitFor();
    await anna.getByLabel("Old password").fill(password);
    await anna.getByRole("button", { name: "Change the password" }).click();
    await anna.getByText("The password is changed. Sign in with the new one.").waitFor();
    await signIn(anna, "anna", "oats and barley");
    await anna.getByRole("treegrid", { name: "Recipes" }).waitFor();

    await admin.getByRole("button", { name: "Change the user anna" }).click();
    await admin.getByLabel("Role").selectOption("engineer");
    await admin.getByRole("button", { name: "Change", exact: true }).click();
    await anna.getByText("The session has ended.").waitFor();
    await signIn(anna, "anna", "oats and barley");
    await anna.getByRole("treegrid", { name: "Recipes" }).waitFor();
    assert.equal(await role(anna), "engineer");
});

test("a panel signs in with the token that it is given, until the token is removed", async (t) => {
    const admin = await visit(t, plant, { role: "admin", path: "/users" });
    await admin.getByRole("button", { name: "Make a token" }).click();
    await admin.getByLabel("Name", { exact: true }).fill("panel 1");
    await admin.getByLabel("Role").selectOption("viewer");
    await admin.getByLabel("Days").fill("30");
    await admin.getByRole("button", { name: "Make the token" }).click();
    const token = await admin.getByRole("textbox", { name: "Token panel 1" }).inputValue();
    await admin.getByRole("button", { name: "Done" }).click();

    const panel = await visit(t, plant);
    panel.allowed.push(/status of 401/, /WebSocket/);
    await panel.getByRole("button", { name: "With a token" }).click();
    await panel.getByLabel("Token", { exact: true }).fill(token);
    await panel.getByRole("button", { name: "Sign in" }).click();
    await panel.locator(".who").getByText("panel 1").waitFor();
    assert.equal(await role(panel), "viewer");

    await admin.getByRole("button", { name: "Remove the token panel 1" }).click();
    await admin.getByRole("button", { name: "Remove the token", exact: true }).click();
    await admin.getByRole("button", { name: "Remove the token panel 1" }).waitFor({ state: "detached" });
    await panel.getByText("The session has ended.").waitFor();
});

test("the last admin stays, and one of two gives the role up", async (t) => {
    const page = await visit(t, plant, { role: "admin", path: "/users" });
    page.allowed.push(/status of 4(01|09)/, /WebSocket/);
    const takeRole = async () => {
        await page.getByRole("button", { name: "Change the user admin" }).click();
        await page.getByLabel("Role").selectOption("viewer");
        await page.getByRole("button", { name: "Change", exact: true }).click();
    };
    await takeRole();
    await page.getByRole("dialog").getByText("the last admin stays").waitFor();
    await page.keyboard.press("Escape");
    await addUser(page, "otto", "admin");
    await takeRole();
    await page.getByText("Your sessions have ended with the change.").waitFor();
    await signIn(page, "admin", password);
    await page.getByText("Users and tokens are for admins.").waitFor();
    assert.equal(await role(page), "viewer");
});
