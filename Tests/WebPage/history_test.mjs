import assert from "node:assert/strict";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { eventually } from "./support/eventually.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

const takeBack = (page) => page.getByRole("button", { name: "Take back …" });

async function activate(recipe) {
    const headers = { "Idempotency-Key": recipe };
    const answer = await plant.ask("operator", "POST", "/activations", { body: { recipe }, headers });
    assert.equal(answer.status, 201);
    return answer.body.id;
}

test("an edit appears in the history, is looked at, and taken back exactly", async (t) => {
    const page = await visit(t, plant, { role: "engineer", path: "/history" });
    await page.getByRole("row", { name: /import/ }).waitFor();
    const { text } = await plant.ask("viewer", "GET", "/recipe", { query: { name: "Capping::Pco28" } });
    await plant.edit("admin", "Capping::Pco28", '{"CapTorque": 2.0}');
    await page.getByRole("row", { name: /token:admin/ }).click();
    const change = page.getByRole("row", { name: /Capping::Pco28/ });
    const cells = ["Capping::Pco28 CapTorque", "1.9", "2.0"];
    await eventually(async () => assert.deepEqual(await change.getByRole("gridcell").allTextContents(), cells));
    await takeBack(page).click();
    await page.getByRole("button", { name: "Write 1 place" }).click();
    await page
        .getByRole("status")
        .getByText(/is taken back/)
        .waitFor();
    assert.equal((await plant.ask("viewer", "GET", "/recipe", { query: { name: "Capping::Pco28" } })).text, text);
});

test("an operator takes an activation back, but no value that somebody else has written since", async (t) => {
    await activate("Filling::Lemonade330");
    const id = await activate("Filling::Cola1500");
    await plant.ask("engineer", "PUT", "/symbol", { query: { name: "Filler.DripTime" }, body: { value: 77 } });
    const page = await visit(t, plant, { role: "operator", path: `/record?id=${id}` });
    page.allowed.push(/status of 502/);
    await takeBack(page).click();
    const dialog = page.getByRole("dialog");
    await dialog.getByText("1 value stays as it is.").waitFor();
    assert.equal(await dialog.getByRole("checkbox").count(), 0, "only engineers write over it");
    assert.deepEqual(await accessibilityFindings(page), []);
    await dialog.getByRole("button", { name: "Write 7 values to Filler" }).click();
    await dialog.getByText(/7 verified, 1 not written/).waitFor();
    const dripTime = dialog.getByRole("row", { name: "Filler.DripTime" });
    assert.match(await dripTime.textContent(), /not written the controller holds 77/);
    assert.equal((await plant.ask("viewer", "GET", "/symbol", { query: { name: "Filler.DripTime" } })).body.value, 77);
    assert.equal(
        (await plant.ask("viewer", "GET", "/symbol", { query: { name: "Filler.FillVolume" } })).body.value,
        330,
    );

    await page.goto("/record?id=1");
    await page.getByText(/places changed/).waitFor();
    assert.equal(await takeBack(page).count(), 0, "edits are taken back by engineers");
});

test("what is found leads to its recipe, and goes when it is mended", async (t) => {
    const page = await visit(t, plant, { role: "viewer", path: "/check" });
    await page.getByText("Nothing is wrong.").waitFor();
    await plant.edit("engineer", "Products::Cola1500", { Filling: "", Spare: 1 });
    for (const kind of ["no recipe", "stray value"]) {
        await page.getByRole("heading", { name: kind }).waitFor();
    }
    assert.equal(
        await page.getByRole("link", { name: "Products::Cola1500" }).last().getAttribute("href"),
        "/recipe?name=Products%3A%3ACola1500",
    );
    await plant.edit("engineer", "Products::Cola1500", { Filling: "Filling::Cola1500", Spare: null });
    await page.getByText("Nothing is wrong.").waitFor();
});
