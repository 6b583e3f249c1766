import assert from "node:assert/strict";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { eventually } from "./support/eventually.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

const get = (name) => plant.ask("viewer", "GET", "/recipe", { query: { name } });

function put(name, text) {
    return plant.ask("engineer", "PUT", "/recipe", { query: { name }, body: text, headers: { "If-None-Match": "*" } });
}

/** The names of the recipes that are shown, as they stand below each other. */
function names(page) {
    return page.locator(".grid-body .row:not(.branch-row) .cell-name").allTextContents();
}

async function choose(page, recipe, item) {
    await page.getByRole("button", { name: `What can be done to ${recipe}`, exact: true }).click();
    await page.getByRole("menuitem", { name: item }).click();
}

test("a recipe is found and opened by keyboard, and the way back leads to what was shown", async (t) => {
    const page = await visit(t, plant, { role: "viewer" });
    await page.getByRole("row", { name: "Pco28" }).waitFor();
    await page.getByLabel("Type", { exact: true }).selectOption("Filling::Basic");
    assert.deepEqual(await names(page), ["Cola1500", "Lemonade330", "Spring500"], "all inherit from the type");
    await page.locator("body").press("/");
    await page.keyboard.type("LEMON");
    await eventually(async () => assert.deepEqual(await names(page), ["Lemonade330"]));
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    await page.waitForURL(/recipe\?name=Filling%3A%3ALemonade330/);
    await page.goBack();
    await eventually(async () => assert.deepEqual(await names(page), ["Lemonade330"]));
    await page.getByLabel("Search recipes").press("Escape");
    await eventually(async () => assert.equal((await names(page)).length, 3));
    assert.equal(await page.getByRole("button", { name: /^What can/ }).count(), 0, "a viewer is offered nothing to do");
});

test("recipes are ordered by who changed them last", async (t) => {
    await plant.edit("engineer", "Packing::Crate24", { CycleRate: 26 });
    const page = await visit(t, plant, { role: "engineer" });
    const head = page.getByRole("columnheader", { name: "Last change" });
    await head.getByRole("button").click();
    assert.equal(await head.getAttribute("aria-sort"), "descending");
    assert.equal((await names(page))[0], "Packing::Crate24");
    await plant.edit("admin", "Service::Checkweigher1500", { NominalWeight: 1542.5 });
    await eventually(async () => assert.equal((await names(page))[0], "Service::Checkweigher1500"));
    assert.match(await page.locator(".row .cell-changed").nth(1).textContent(), /just now by token:admin/);
});

test("a recipe is made with the exact values of another, and its name has to be free", async (t) => {
    const page = await visit(t, plant, { role: "engineer" });
    page.allowed.push(/status of 412/);
    const text =
        '{"recipeTypeName":"Filling::Still","values":{"FillVolume":500.0,"Spare":9007199254740993,"Less":1e-300}}';
    assert.equal((await put("Model", text)).status, 201);
    await page.getByRole("button", { name: "New recipe" }).click();
    const name = page.getByRole("textbox", { name: "Name" });
    await name.fill("Filling::Spring500");
    await page.getByRole("dialog").getByRole("combobox", { name: "Type", exact: true }).selectOption("Filling::Still");
    const model = page.getByLabel("Values of");
    await model.fill("Capping::Crown");
    await page.getByText("There is no such recipe of this type.").waitFor();
    await model.fill("Model");
    await page.getByRole("button", { name: "Make the recipe" }).click();
    await page.getByText("This name is taken.").waitFor();
    assert.deepEqual(await accessibilityFindings(page), []);
    await name.fill("Winter::Mild");
    await page.getByRole("button", { name: "Make the recipe" }).click();
    await page.waitForURL(/name=Winter%3A%3AMild/);
    assert.equal((await get("Winter::Mild")).text, text);
});

test("a rename shows what names the recipe, and overwrites nobody's change", async (t) => {
    const page = await visit(t, plant, { role: "engineer" });
    page.allowed.push(/status of 4(12|09)/);
    await choose(page, "Labelling::Cola1500", "Rename or move");
    const name = page.getByRole("textbox", { name: "Name" });
    await name.fill("Labelling::Spring500");
    await page.getByText("This name is taken.").waitFor();
    await name.fill("Labels::Cola");
    const rename = page.getByRole("button", { name: "Rename, and write 1 reference" });
    await rename.waitFor();
    await plant.edit("admin", "Labelling::Cola1500", '{"LabelPosition": 97.0}');
    await rename.click();
    await page.getByText("Somebody has changed it meanwhile.").waitFor();
    assert.match(await page.locator(".standing").textContent(), /"LabelPosition": 97\.0/);
    await rename.click();
    await page.getByRole("status").getByText("Labelling::Cola1500 is Labels::Cola now.").waitFor();
    assert.equal((await get("Products::Cola1500")).body.values.Labelling, "Labels::Cola");
});

test("what goes with a folder is told before it is deleted", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/recipes?match=Old" });
    for (const name of ["Old::One", "Old::More::Two"]) {
        assert.equal((await put(name, '{"recipeTypeName": "Capping::Screw", "values": {}}')).status, 201);
    }
    await plant.edit("engineer", "Products::Spring500", { Capping: "Old::One" });
    const menu = page.getByRole("button", { name: "What can be done to Old", exact: true });
    await menu.waitFor();
    await choose(page, "Old", "Delete");
    await page.getByText("1 place names it and will name nothing:").waitFor();
    await page.getByRole("button", { name: "Delete the folder Old with 2 recipes" }).click();
    await menu.waitFor({ state: "detached" });
    assert.equal((await get("Old::More::Two")).status, 404);
});
