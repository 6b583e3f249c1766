import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();
const type = "Filling::Carbonated";

function file(name, text) {
    return { name, mimeType: "", buffer: Buffer.from(text) };
}

async function choose(page, name, text) {
    await page.getByLabel("File to import").setInputFiles(file(name, text));
}

function recipe(volume) {
    return `{"recipeTypeName": "${type}", "values": {"FillVolume": ${volume}, "Spare": 9007199254740993}}`;
}

async function stored(name) {
    return (await plant.ask("viewer", "GET", "/recipe", { query: { name } })).text;
}

test("an import is looked at, held back by a change in between, and then made", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/import" });
    page.allowed.push(/status of 412/);
    // The page hears of no change, so that it is the service that holds the import back.
    await page.routeWebSocket(/events/, () => {});
    await page.reload();
    const old = await stored("Filling::Lemonade330");
    await choose(
        page,
        "line.json",
        `{"recipeList": {"Filling": {"Lemonade330": ${old}, "Tonic": ${recipe("330.0")}}}}`,
    );
    await page.getByRole("button", { name: "Import 1 recipe", exact: true }).waitFor();
    assert.equal((await plant.ask("viewer", "GET", "/recipe", { query: { name: "Filling::Tonic" } })).status, 404);
    assert.deepEqual(await accessibilityFindings(page), []);

    await plant.edit("engineer", "Filling::Lemonade330", { FillVolume: 340.5 });
    await page.getByRole("button", { name: "Import 1 recipe", exact: true }).click();
    await page.getByText("The configuration has changed meanwhile.").waitFor();
    await page.getByLabel("Note for the history").fill("order 4711");
    await page.getByRole("button", { name: "Import 2 recipes" }).click();
    await page.getByText("Imported 2 recipes. To the recipes").waitFor();
    assert.match(await stored("Filling::Tonic"), /"FillVolume": ?330\.0.*9007199254740993/s);
    assert.deepEqual(JSON.parse(await stored("Filling::Lemonade330")), JSON.parse(old));
    assert.equal(
        (await plant.ask("viewer", "GET", "/history", { query: { limit: 1 } })).body.items[0].note,
        "order 4711",
    );
});

test("what is wrong with an import stands beside its line, and nothing is taken in", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/import" });
    page.allowed.push(/status of 4(00|22)/);
    const cases = [
        { name: "broken.json", text: '{\n"recipeList": {,}}', places: ["line 2, column 16"], marked: [","] },
        {
            name: "unfit.json",
            text: `{"recipeList":\n{"A": ${recipe('"much"')},\n "B": ${recipe("-1.0")}}}`,
            places: ["line 2, column 2", "line 3, column 2"],
            marked: ['"', '"'],
        },
        {
            name: "table.csv",
            text: "recipe,FillVolume,FillerSpeed\nFilling::Cola1500,400.0,x\nCider,y,1\n",
            places: ["line 2, column 25", "line 3, column 7"],
            marked: ["x", "y"],
        },
    ];
    for (const { name, text, places, marked } of cases) {
        await choose(page, name, text);
        if (name.endsWith(".csv")) {
            await page.getByLabel("Type of the recipes in the table").selectOption(type);
        }
        await page.locator(".mistakes").waitFor();
        assert.deepEqual(await page.locator(".mistakes .place").allTextContents(), places, name);
        assert.deepEqual(await page.locator(".mistakes mark").allTextContents(), marked, name);
        assert.equal(await page.getByRole("button", { name: /^Import/ }).count(), 0, name);
        await page.getByRole("button", { name: "Another one" }).click();
    }
    assert.equal((await plant.ask("viewer", "GET", "/recipes", { query: { match: "Cider" } })).body.items.length, 0);
});

test("what is exported is what an import takes, also by way of a spreadsheet", async (t) => {
    await plant.edit("engineer", "Labelling::Cola1500", { LabelDesign: "A; b" });
    await plant.edit("engineer", "Labelling::Spring500", { LabelDesign: 'A, b; "c"\nd' });
    const reader = await visit(t, plant, { role: "viewer", path: "/import" });
    assert.equal(await reader.getByRole("button", { name: "Choose a file" }).count(), 0);
    const engineer = await visit(t, plant, { role: "engineer", path: "/import" });
    const download = async (action) => {
        const [begun] = await Promise.all([reader.waitForEvent("download"), action()]);
        return { name: begun.suggestedFilename(), text: await readFile(await begun.path(), "utf8") };
    };
    const isUnchanged = () => engineer.getByText("Nothing would change: all of it stands there already.").waitFor();

    const all = await download(() => reader.getByRole("button", { name: "Export everything (JSON)" }).click());
    await choose(engineer, all.name, all.text);
    await isUnchanged();

    await engineer.getByRole("button", { name: "Another one" }).click();
    await reader.getByLabel("Recipes of the type").selectOption("Labelling::WrapAround");
    const table = await download(() => reader.getByRole("button", { name: "Export the table (CSV)" }).click());
    assert.match(table.text, /^\uFEFFrecipe;/);
    assert.ok(table.text.includes(';"A; b";') && table.text.includes(';"A, b; ""c""\nd";'), table.text);
    // Its name tells the type.
    await choose(engineer, table.name, table.text);
    await isUnchanged();
});
