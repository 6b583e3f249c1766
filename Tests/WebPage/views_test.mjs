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
