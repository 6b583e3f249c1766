import assert from "node:assert/strict";
import { writeFile } from "node:fs/promises";
import { join } from "node:path";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const definition = (name) => ({ $ref: `ravik:general#/definitions/${name}` });
/** By symbol: what the controller begins with, and the symbol's schema. */
const symbols = {
    Speed: [100, { type: "integer", minimum: 0, maximum: 500, multipleOf: 5, unit: "1/min" }],
    Volume: [3.0, definition("LREAL")],
    Pressure: [0.1, definition("REAL")],
    Mode: ["Level", { enum: ["Level", "Weight"] }],
    Rinse: [true, definition("BOOL")],
    Code: ["A-1", definition("STRING")],
    Total: [5000000000, definition("LINT")],
    Options: [null, {}],
};
const members = Object.keys(symbols).map((name) => [name, { symbol: `Line.${name}`, enabled: true }]);
const filling =
    '{"Speed":100,"Volume":3.0,"Pressure":0.1,"Mode":"Level","Rinse":true,"Code":"A-1","Total":9007199254740993,' +
    '"Options":{"keep":1.0,"2":{"drop":1}}}';

async function line(folder) {
    const variables = Object.fromEntries(Object.entries(symbols).map(([name, [value]]) => [name, value]));
    const configuration = { variables: { ...variables, Volume: "volume", Pressure: 0.1 } };
    const settings = JSON.stringify({
        extensions: [
            { domain: "RavikRecipeManagement", library: "libRavikRecipeManagement.so" },
            { domain: "Line", library: "libRavikSimulation.so", configuration },
        ],
        symbols: Object.fromEntries(
            Object.entries(symbols).map(([name, [, schema]]) => [
                `Line.${name}`,
                { DOMAIN: "Line", MAPPING: name, USEMAPPING: true, SCHEMA: schema },
            ]),
        ),
    });
    await writeFile(join(folder, "ravik.json"), settings.replace('"volume"', "3.0"));
    const types = {
        Filling: { members: Object.fromEntries(members) },
        Product: { members: { Filling: { recipeType: "Filling", enabled: true } } },
    };
    types.Filling.members.Speed.defaultValue = 50;
    const recipe = (type, values) => `{"recipeTypeName": "${type}", "values": ${values}}`;
    const recipes = ["Own", "Exact", "Shared", "Gone", "Refused"].map(
        (name) => `"${name}": ${recipe("Filling", filling)}`,
    );
    const nested = `"Cola": ${recipe("Product", '{"Filling": "Shared"}')}`;
    await writeFile(
        join(folder, "recipes.json"),
        `{"recipeTypeList": ${JSON.stringify(types)}, "recipeList": {${[...recipes, nested]}}}`,
    );
}

const plant = await startPlant(line);
const open = (t, name, role = "engineer") =>
    visit(t, plant, { role, path: `/recipe?name=${name}`, reducedMotion: "reduce" });
const row = (page, member) => page.getByRole("row", { name: new RegExp(`^${member} `) });
const stored = (page, member) => row(page, member).locator(".cell-stored");
const read = async (name) => (await plant.ask("viewer", "GET", "/recipe", { query: { name } })).text;

/** In the field of a text or number that opens over the stored value. */
async function type(page, member, text) {
    await stored(page, member).click();
    const field = page.getByRole("textbox", { name: member, exact: true });
    await field.fill(text);
    await field.press("Control+Enter");
}

/** Saves what was edited by `save`, and waits until nothing is left to save. */
async function saved(page, save) {
    await save();
    await page.getByRole("button", { name: "Save", exact: true }).waitFor();
}

test("what is typed is saved exactly, and what is not touched stays as it was", async (t) => {
    const page = await open(t, "Exact");
    let expected = filling;
    for (const [member, typed, before = typed] of [
        ["Code", "3.0", '"A-1"'],
        ["Volume", "1e-300", "3.0"],
        ["Volume", "3.0", "1e-300"],
        ["Total", "9223372036854775807", "9007199254740993"],
        ["Total", "-9223372036854775808", "9223372036854775807"],
        ["Options", '{"keep":9007199254740993,"new":null}', '{"keep":1.0,"2":{"drop":1}}'],
    ]) {
        await type(page, member, typed);
        await saved(page, () => page.keyboard.press("Control+s"));
        expected = expected.replace(`"${member}":${before}`, `"${member}":${member === "Code" ? '"3.0"' : typed}`);
        assert.equal(await read("Exact"), `{"recipeTypeName":"Filling","values":${expected}}`, `${member}: ${typed}`);
    }
    await stored(page, "Mode").click();
    await page.getByRole("combobox", { name: "Mode" }).selectOption("Weight");
    await page.keyboard.press("Enter");
    await stored(page, "Rinse").click();
    await page.getByRole("switch", { name: "Rinse" }).uncheck();
    await page.getByRole("button", { name: "Done" }).click();
    await stored(page, "Speed").click();
    await page.getByRole("button", { name: "Leave out" }).click();
    assert.deepEqual(await accessibilityFindings(page), []);
    await saved(page, () => page.getByRole("button", { name: "Save 3 changes" }).click());
    assert.match(await stored(page, "Speed").innerText(), /default\s+50/);
    const { values } = JSON.parse(await read("Exact"));
    assert.deepEqual([values.Mode, values.Rinse, "Speed" in values], ["Weight", false, false]);
});

test("a mistake stands beside its field, whoever finds it, and nothing is saved", async (t) => {
    const page = await open(t, "Refused");
    page.allowed.push(/status of 422/);
    await type(page, "Speed", "501");
    await page.getByRole("button", { name: "Save 1 change" }).click();
    await page.getByRole("alert").getByText("501 is out of range: 0 to 500 1/min.").waitFor();
    await type(page, "Speed", "7");
    await page.getByRole("button", { name: "Save 1 change" }).click();
    await page.getByRole("alert").getByText("multiple").waitFor();
    await stored(page, "Speed").click();
    await page.locator(".cell-editor").getByText("multiple").waitFor();
    await page.getByRole("textbox", { name: "Speed" }).press("Escape");
    await page.getByRole("button", { name: "Discard" }).click();
    assert.equal(await read("Refused"), `{"recipeTypeName":"Filling","values":${filling}}`);
});

test("two engineers: what clashes is chosen member by member, the rest goes together by itself", async (t) => {
    const page = await open(t, "Shared");
    page.allowed.push(/status of 412/);
    await stored(page, "Total").getByText("9007199254740993").waitFor();
    await plant.edit("engineer", "Shared", '{"Total": 1}');
    await stored(page, "Total").getByText("1", { exact: true }).waitFor();
    await type(page, "Speed", "200");
    await type(page, "Code", "mine");
    await type(page, "Volume", "4.0");
    await plant.edit("engineer", "Shared", '{"Speed": 300, "Code": "theirs", "Total": 2}');
    await page.getByText("Somebody else has saved this recipe meanwhile.").waitFor();
    await page.getByRole("button", { name: "Save 3 changes" }).click();
    const dialog = page.getByRole("dialog");
    await dialog.waitFor();
    const clash = (member) => dialog.getByRole("row", { name: member });
    assert.deepEqual(await clash("Speed").getByRole("cell").allTextContents(), ["Mine: 200", "Theirs: 300", "100"]);
    assert.equal(await dialog.getByRole("row").filter({ hasText: "Volume" }).count(), 0);
    assert.deepEqual(await accessibilityFindings(page), []);
    await clash("Code").getByRole("radio", { name: "Theirs" }).check();
    await saved(page, () => dialog.getByRole("button", { name: "Save 2 changes" }).click());
    const { values } = JSON.parse(await read("Shared"));
    assert.deepEqual([values.Speed, values.Code, values.Volume, values.Total], [200, "theirs", 4, 2]);
});

test("edits of a recipe that was deleted meanwhile can still be copied", async (t) => {
    const page = await open(t, "Gone");
    page.allowed.push(/status of 404/);
    await type(page, "Code", "unsaved");
    const { etag } = await plant.ask("engineer", "GET", "/recipe", { query: { name: "Gone" } });
    await plant.ask("engineer", "DELETE", "/recipe", { query: { name: "Gone" }, headers: { "If-Match": etag } });
    await page.getByText("This recipe is no longer there").waitFor();
    assert.equal(await page.getByLabel("What you changed and had not saved").inputValue(), '{\n  "Code": "unsaved"\n}');
});

test("only what differs: rows stay while values change, and what isn't current is never the same", async (t) => {
    const page = await open(t, "Own");
    page.allowed.push(/ERR_|WebSocket/);
    const difference = (member) => row(page, member).locator(".cell-difference");
    const hold = (symbol, value) =>
        plant.ask("engineer", "PUT", "/symbol", { query: { name: `Line.${symbol}` }, body: `{"value": ${value}}` });
    for (const [member, typed, state] of [
        ["Volume", "3", "same"],
        ["Volume", "3.0000001", "differs"],
        ["Pressure", "0.10000000149", "same"],
        ["Speed", "105", "differs"],
    ]) {
        await type(page, member, typed);
        await difference(member).getByText(state).waitFor();
    }
    await page.getByRole("button", { name: "Discard" }).click();
    await page.getByText("2 differ, 6 same").waitFor();
    await page.getByRole("button", { name: "Only what differs" }).click();
    const rows = page.locator(".grid-body").getByRole("row");
    assert.equal(await rows.count(), 2);
    await hold("Total", "9007199254740993");
    await difference("Total").getByText("same").waitFor();
    await hold("Speed", "110");
    await page.getByText("2 differ, 6 same").waitFor();
    assert.deepEqual(await rows.locator(".cell-member").allInnerTexts(), ["Total", "Options"]);
    await page.getByRole("button", { name: "Something else differs now" }).click();
    assert.deepEqual(await rows.locator(".cell-member").allInnerTexts(), ["Speed", "Options"]);
    page.link.freeze();
    await difference("Speed").getByText("unknown").waitFor({ timeout: 3000 });
    await page.getByRole("button", { name: "Look at the plan", disabled: true }).waitFor();
});

test("a nested recipe is chosen by keyboard, and unsaved edits are not left by mistake", async (t) => {
    const page = await open(t, "Cola");
    const table = page.getByRole("treegrid", { name: "Values" });
    await row(page, "Speed").waitFor();
    await table.focus();
    await page.keyboard.press("F2");
    await page.getByRole("combobox", { name: "Filling" }).selectOption("Own");
    await page.keyboard.press("Enter");
    await stored(page, "Total").getByText("9007199254740993").waitFor();
    assert.ok(await table.evaluate((element) => element === document.activeElement));
    let question;
    page.once("dialog", (dialog) => {
        question = dialog.message();
        return dialog.dismiss();
    });
    await page.getByRole("link", { name: "Types" }).click();
    assert.equal(question, "1 change of Cola is not saved. Leave all the same?");
    await saved(page, () => page.keyboard.press("Control+s"));
    assert.match(await read("Cola"), /"Filling":"Own"/);
    await page.getByRole("link", { name: "Where used" }).click();
    await page.getByText("No other recipe uses it.").waitFor();
    assert.deepEqual(await accessibilityFindings(page), []);
});

test("unsaved edits are asked about whichever way the history is gone, and the address stays theirs", async (t) => {
    const page = await open(t, "Own");
    await page.getByRole("link", { name: "Types" }).click();
    await page.goBack();
    await type(page, "Code", "unsaved");
    const address = page.url();
    let questions = 0;
    page.on("dialog", (dialog) => {
        ++questions;
        return dialog.dismiss();
    });
    await page.evaluate(() => history.forward());
    await page.waitForURL(address);
    await stored(page, "Code").getByText("unsaved").waitFor();
    await page.getByRole("link", { name: "Where used" }).click();
    await page.goBack();
    await stored(page, "Code").getByText("unsaved").waitFor();
    assert.deepEqual([questions, page.url()], [1, address]);
});

test("who may not edit is offered neither fields nor actions that write", async (t) => {
    const page = await open(t, "Own", "operator");
    await stored(page, "Speed").click();
    assert.equal(await page.locator(".cell-editor").count(), 0);
    await page.getByRole("button", { name: "More" }).click();
    assert.deepEqual(await page.getByRole("menuitem").allInnerTexts(), ["Compare with another recipe …"]);
});
