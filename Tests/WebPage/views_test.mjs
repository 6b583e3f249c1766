import assert from "node:assert/strict";
import test from "node:test";
import { accessibilityFindings } from "./support/browser.mjs";
import { startPlant, visit } from "./support/test_file.mjs";
import { settled, views } from "./support/views.mjs";

const plant = await startPlant();
await plant.activate("Products::Cola1500", "order 4711");
const phone = { width: 390, height: 844 };

for (const view of views) {
    test(`${view.name}: axe finds nothing in light and dark, and nothing is wider than a phone`, async (t) => {
        const page = await visit(t, plant, { path: view.path, role: view.role, reducedMotion: "reduce" });
        await settled(page, view);
        for (const colorScheme of ["light", "dark"]) {
            await page.emulateMedia({ colorScheme });
            assert.deepEqual(await accessibilityFindings(page), [], colorScheme);
        }
        await page.setViewportSize(phone);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), phone.width);
    });
}

const recipe = "/recipe?name=Filling::Lemonade330";
const dialogs = [
    { path: recipe, role: "engineer", by: ["More", "Copy …"] },
    { path: recipe, role: "engineer", by: ["More", "Compare with another recipe …"] },
    { path: "/recipes", role: "engineer", by: ["New recipe"] },
    { path: "/type?name=Filling::Carbonated", role: "engineer", by: ["Add a member"] },
    { path: "/users", role: "admin", by: ["Add a user"] },
    { path: recipe, role: "viewer", by: ["Values"], key: "Space" },
];

for (const { path, role, by, key = "Enter" } of dialogs) {
    test(`${by.join(", ")}: by keys alone, axe finds nothing, and the focus comes back`, async (t) => {
        const page = await visit(t, plant, { path, role, reducedMotion: "reduce" });
        const place = page
            .locator("button, .grid")
            .and(page.getByLabel(by[0]).or(page.getByText(by[0])))
            .first();
        await place.press(key);
        for (const item of by.slice(1)) {
            await page.locator("[role=menuitem]:focus").waitFor();
            while ((await page.locator(":focus").textContent()) !== item) {
                await page.keyboard.press("ArrowDown");
            }
            await page.keyboard.press("Enter");
        }
        await page.locator("dialog:has(:focus)").waitFor();
        for (const colorScheme of ["light", "dark"]) {
            await page.emulateMedia({ colorScheme });
            assert.deepEqual(await accessibilityFindings(page), [], colorScheme);
        }
        await page.keyboard.press("Escape");
        await page.locator("dialog").waitFor({ state: "detached" });
        assert.ok(await place.evaluate((element) => element === document.activeElement));
    });
}

const hostileNames = [
    { is: "markup", name: "<img src=x onerror=alert(1)></script>", signs: [] },
    { is: "another order", name: "ab\u202Ecd\u2066ef\u2069\u2069gh", signs: ["U+202E", "U+2066", "U+2069", "U+2069"] },
    { is: "nothing to see", name: "in\u200Bvis\u00ADible", signs: ["U+200B", "U+00AD"] },
    { is: "blanks", name: " two  blanks\u00A0", signs: ["␣", "␣␣", "U+00A0"] },
    { is: "joined signs", name: "👩‍👩‍👧 ❤️ می‌خواهم क्‍ष", signs: [] },
    { is: "a key of objects", name: "__proto__", signs: [] },
    { is: "parts of an address", name: "a%2F?b=#c&d+e", signs: [] },
    { is: "as long as can be", name: "W".repeat(255), signs: [] },
];

for (const { is, name, signs } of hostileNames) {
    test(`a name of ${is} is shown as it is, and what can't be seen in it is marked`, async (t) => {
        const entry = { recipeTypeName: "Filling::Carbonated", values: {} };
        const headers = { "If-None-Match": "*" };
        const made = await plant.ask("engineer", "PUT", "/recipe", { query: { name }, body: entry, headers });
        assert.equal(made.status, 201, made.text);
        const path = `/recipe?name=${encodeURIComponent(name)}`;
        const page = await visit(t, plant, { path, role: "engineer" });
        const leaf = page.locator("h1 .leaf");
        assert.equal(await leaf.evaluate((element) => element.textContent), name);
        const marks = await leaf.locator(".unseen").evaluateAll((all) => all.map(({ dataset }) => dataset.sign));
        assert.deepEqual(marks, signs);
        assert.ok(signs.length === 0 || (await leaf.evaluate(isInOrder)), "its letters stand in their order");
        await page.setViewportSize(phone);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), phone.width);
    });
}

/** Whether the parts of a line's text follow each other from left to right. */
function isInOrder(element) {
    const walker = document.createTreeWalker(element, NodeFilter.SHOW_TEXT);
    const lefts = [];
    while (walker.nextNode()) {
        const range = document.createRange();
        range.selectNodeContents(walker.currentNode);
        lefts.push(...Array.from(range.getClientRects(), ({ left }) => left));
    }
    return lefts.every((left, index) => index === 0 || left >= lefts[index - 1]);
}
