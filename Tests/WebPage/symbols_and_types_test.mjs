import assert from "node:assert/strict";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { eventually } from "./support/eventually.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();
/** Where Filler.Speed stands. */
const speed = 102;

const rowOf = (page, name) => page.getByRole("row").filter({ hasText: name });

async function textOf(kind, name) {
    return (await plant.ask("viewer", "GET", "/" + kind, { query: { name } })).text;
}

/** Puts an entry whatever stands there, behind the page's back. */
async function put(kind, name, text) {
    const { etag } = await plant.ask("viewer", "GET", "/" + kind, { query: { name } });
    const headers = etag ? { "If-Match": etag } : { "If-None-Match": "*" };
    const { status } = await plant.ask("engineer", "PUT", "/" + kind, { query: { name }, body: text, headers });
    assert.ok(status === 200 || status === 201, `${name}: ${status}`);
}

test("symbols are found by name and domain, and a dead device's tell their age and why", async (t) => {
    const page = await visit(t, plant, { role: "viewer", path: "/symbols?domain=Packer" });
    const stateOf = (name, state) => rowOf(page, name).getByText(state).waitFor();
    await stateOf("Packer.CycleRate", "good");
    plant.packer.freeze();
    t.after(() => plant.packer.thaw());
    await stateOf("Packer.CycleRate", /\d s old/);
    await stateOf("Packer.CycleRate", "did not answer");
    await page.getByLabel("Domain").selectOption("Filler");
    await stateOf("Filler.Speed", "good");
    plant.packer.thaw();
    await page.getByLabel("Domain").selectOption("");
    await page.keyboard.press("/");
    await page.keyboard.type("CYCLERATE");
    await page.getByText(/symbols, 1 shown/).waitFor();
    await stateOf("Packer.CycleRate", "good");
    await rowOf(page, "Packer.CycleRate").click();
    assert.equal(await page.getByRole("dialog").getByRole("textbox").count(), 0);
});

test("an engineer writes a symbol with a button that says so, and never with Enter or over a lost link", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/symbols?match=Filler.Speed" });
    page.allowed.push(/ERR_|WebSocket/);
    const [before] = await plant.filler.read(speed);
    await rowOf(page, "Filler.Speed").getByText("good").waitFor();
    await page.getByRole("treegrid").focus();
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    const dialog = page.getByRole("dialog");
    const field = dialog.getByLabel("Value to write");
    for (const [text, mistake] of [
        ["1.5", "no whole number"],
        ["40000", "out of range"],
        ["", "missing"],
    ]) {
        await field.fill(text);
        await dialog.getByText(mistake).waitFor();
        assert.ok(await dialog.getByRole("button", { name: "Write", exact: true }).isDisabled(), text);
    }
    await field.fill("123");
    await field.press("Enter");
    assert.deepEqual(await accessibilityFindings(page), []);
    const write = dialog.getByRole("button", { name: "Write 123 to Filler.Speed" });
    page.link.cut();
    await dialog.getByText("The link is lost.").waitFor();
    assert.ok(await write.isDisabled());
    page.link.restore();
    await dialog.getByText("The link is lost.").waitFor({ state: "detached" });
    assert.deepEqual(await plant.filler.read(speed), [before]);
    await dialog.getByLabel("Note, for the history").fill("by hand");
    await write.click();
    await dialog.getByText("123 was written to Filler.Speed.").waitFor();
    await page.keyboard.press("Escape");
    await rowOf(page, "Filler.Speed").getByText("123", { exact: true }).waitFor();
    assert.deepEqual(await plant.filler.read(speed), [123]);
    const { items } = (await plant.ask("viewer", "GET", "/history", { query: { limit: 1 } })).body;
    assert.deepEqual([items[0].asked, items[0].note], ["symbol set Filler.Speed 123", "by hand"]);
});

test("what a device refuses is told in its words", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/symbols?match=Calibration" });
    page.allowed.push(/status of 502/);
    await rowOf(page, "Checkweigher.Calibration").click();
    await page.getByRole("dialog").getByLabel("Value to write").fill("1.25");
    await page.getByRole("button", { name: "Write 1.25 to Checkweigher.Calibration" }).click();
    await page.getByRole("dialog").getByRole("alert").getByText("has nothing at this address").waitFor();
});

test("a type is made and filled, and its recipes are brought into line", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/types" });
    await page.getByRole("button", { name: "New type" }).click();
    await page.getByLabel("Name", { exact: true }).fill("Filling::Hot");
    await page.getByLabel("Inherits from").fill("Filling::Basic");
    await page.getByRole("button", { name: "Make the type" }).click();
    await rowOf(page, "FillVolume").getByRole("link", { name: "Filling::Basic" }).waitFor();
    await put("recipe", "Tea", '{"recipeTypeName": "Filling::Hot", "values": {"FillVolume": 700.0}}');
    await page.getByRole("button", { name: "Add a member" }).click();
    const dialog = page.getByRole("dialog");
    await dialog.getByLabel("Name", { exact: true }).fill("Batch");
    await dialog.getByLabel("Symbol", { exact: true }).fill("Filler.BatchNumber");
    await dialog.getByLabel("Default value, where").check();
    await dialog.getByLabel("Default value", { exact: true }).fill("9007199254740993");
    await page.keyboard.press("Control+s");
    await dialog.getByRole("button", { name: "Add" }).click();
    await rowOf(page, "Batch").getByText("+ new").waitFor();
    page.once("dialog", (question) => question.dismiss());
    await rowOf(page, "FillVolume").getByRole("link", { name: "Filling::Basic" }).click();
    await page.keyboard.press("Control+s");
    await page.getByText("The type is saved.").waitFor();
    await page.getByRole("button", { name: "Bring its recipes into line" }).click();
    await dialog.getByText("Batch filled in: 9007199254740993").waitFor();
    assert.deepEqual(await accessibilityFindings(page), []);
    assert.match(await textOf("recipe", "Tea"), /"FillVolume":700\.0,.*"Batch":9007199254740993/);
});

test("two edit a type: what both did is kept, and what only one knows stays exactly", async (t) => {
    const keg = (limit, other) =>
        `{"options":{"enabled":"Enabled"},"members":{"2":{"symbol":"Filler.Speed","schema":` +
        `{"maximum":${limit}},"defaultValue":5,"enabled":true},"1":{"defaultValue":3.0,"symbol":"Filler.Pressure"}${other}}}`;
    await put("type", "Keg", keg("3e2", ""));
    const page = await visit(t, plant, { role: "engineer", path: "/type?name=Keg" });
    page.allowed.push(/status of 412/);
    await rowOf(page, "Filler.Speed").click();
    const dialog = page.getByRole("dialog");
    await dialog.getByLabel("Default value", { exact: true }).fill("7");
    await dialog.getByRole("button", { name: "Change" }).click();
    await put("type", "Keg", keg("3e2", ',"drip":{"symbol":"Filler.DripTime","enabled":true}'));
    await page.getByText("Somebody has saved this type since.").waitFor();
    await page.getByRole("button", { name: "Save" }).click();
    await dialog.getByText("Both changed different parts; both are kept.").waitFor();
    assert.deepEqual(await accessibilityFindings(page), []);
    await dialog.getByRole("button", { name: "Go on with these" }).click();
    await put("type", "Keg", keg("3e2", ',"drip":{"symbol":"Filler.DripTime","enabled":true}').replace(":5,", ":6,"));
    await page.getByRole("button", { name: "Save" }).click();
    const contested = dialog.getByRole("group", { name: /^2/ });
    const told = await contested.locator("code").allTextContents();
    assert.deepEqual(
        told.map((text) => /Value": (\d)/.exec(text)[1]),
        ["5", "6", "7"],
    );
    await contested.getByLabel("Theirs").check();
    await dialog.getByRole("button", { name: "Go on with these" }).click();
    await rowOf(page, "Filler.Pressure").getByRole("button", { name: "Move 1 up" }).click();
    await page.getByRole("button", { name: "Save" }).click();
    await page.getByText("The type is saved.").waitFor();
    assert.equal(
        await textOf("type", "Keg"),
        '{"options":{"enabled":"Enabled"},"members":{' +
            '"1":{"defaultValue":3.0,"symbol":"Filler.Pressure"},' +
            '"2":{"symbol":"Filler.Speed","schema":{"maximum":300.0},"defaultValue":6,"enabled":true},' +
            '"drip":{"symbol":"Filler.DripTime","enabled":true}}}',
    );
});

test("a member that is renamed keeps its values in the recipes", async (t) => {
    await put("type", "Can", '{"members":{"Old":{"symbol":"Filler.DripTime","defaultValue":1,"enabled":true}}}');
    await put("recipe", "Beer", '{"recipeTypeName":"Can","values":{"Old":42}}');
    const page = await visit(t, plant, { role: "engineer", path: "/type?name=Can" });
    page.allowed.push(/status of 412/);
    await rowOf(page, "Filler.DripTime").click();
    await page.getByRole("dialog").getByRole("button", { name: "Rename …" }).click();
    await page.getByRole("dialog").getByLabel("Name", { exact: true }).fill("New");
    await page.getByRole("dialog").getByRole("button", { name: "Rename", exact: true }).click();
    await rowOf(page, "New").waitFor();
    await eventually(async () => assert.match(await textOf("recipe", "Beer"), /"New":42/));
});
