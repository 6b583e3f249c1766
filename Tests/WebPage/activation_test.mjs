import assert from "node:assert/strict";
import { cp, readFile, writeFile } from "node:fs/promises";
import { join } from "node:path";
import test from "node:test";
import { eventually } from "./support/eventually.mjs";
import { examples } from "./support/Process.mjs";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant(patientLine);
const lemonade = "Products::Lemonade330";
const speed = 102;

/** The bottling line; a device that does not answer is waited for long enough to press a button meanwhile. */
async function patientLine(folder, { filler, packer }) {
    const settings = JSON.parse(await readFile(join(examples, "modbus/ravik.json"), "utf8"));
    for (const [domain, { port }] of Object.entries({ Filler: filler, Packer: packer })) {
        const { configuration } = settings.extensions.find((extension) => extension.domain === domain);
        Object.assign(configuration, { port, timeoutMs: 1500 });
    }
    await writeFile(join(folder, "ravik.json"), JSON.stringify(settings));
    await cp(join(examples, "plant/recipes.json"), join(folder, "recipes.json"));
}

/** The plan of a recipe, with the button ready, in a page that counts the requests to write. */
async function look(t, { recipe = lemonade, role = "engineer", path = `/plan?name=${recipe}`, ...options } = {}) {
    const page = await visit(t, plant, { role, path, ...options });
    page.posts = [];
    page.on("request", (request) => isWrite(request) && page.posts.push(request));
    page.writes = () => page.getByRole("button", { name: /^Write \d+ values? to / });
    page.verdict = page.locator(".verdict");
    return page;
}

function isWrite(request) {
    return request.method() === "POST" && request.url().endsWith("/activations");
}

async function press(page) {
    await page.writes().click();
}

async function activations(recipe = lemonade) {
    const { body } = await plant.ask("admin", "GET", "/history", { query: { recipe } });
    return body.items.filter(({ action }) => action === "activation").length;
}

async function middleOf(locator) {
    const { x, y, width, height } = await locator.boundingBox();
    return [x + width / 2, y + height / 2];
}

/** In the page: for how long the button is shown before it takes a press. */
function untilReady() {
    return new Promise((resolve) => {
        let shown;
        const look = () => {
            const button = document.querySelector("button.write");
            shown = button ? (shown ?? performance.now()) : undefined;
            if (button && !button.disabled) {
                resolve(performance.now() - shown);
            }
        };
        new MutationObserver(look).observe(document.body, { subtree: true, childList: true, attributes: true });
    });
}

for (const viewport of [
    { width: 1024, height: 768 },
    { width: 390, height: 844 },
]) {
    test(`three touches write, two at one place never do (${viewport.width} px)`, async (t) => {
        await plant.filler.write(speed, 1);
        const page = await look(t, { role: "operator", path: "/operator?folder=Products", viewport, hasTouch: true });
        const touchTwice = async (locator) => {
            const place = await middleOf(locator);
            await page.touchscreen.tap(...place);
            await page.touchscreen.tap(...place);
            return place;
        };
        await touchTwice(page.getByRole("button", { name: "Lemonade330" }));
        const settling = page.evaluate(untilReady);
        const [, y] = await touchTwice(page.getByRole("button", { name: "Look at the plan" }));
        assert.ok((await settling) > 400, "it takes nothing at once");
        const [, below] = await middleOf(page.writes());
        assert.ok(below - y > 100, "it stands elsewhere");
        await touchTwice(page.writes());
        await page.getByText("Lemonade330 stands in the controllers: 31 of 31 values.").waitFor();
        assert.equal(page.posts.length, 1);
        assert.deepEqual(await plant.filler.read(speed), [600]);
    });
}

test("no key writes unless the button has the focus", async (t) => {
    const page = await look(t);
    await page.locator("button.write:enabled").waitFor();
    for (const key of ["Enter", " ", "w", "Control+Enter", "Control+s"]) {
        await page.keyboard.press(key);
        await page.getByLabel("Note").press(key);
    }
    assert.equal(page.posts.length, 0);
    await page.writes().press("Enter");
    await page.getByText("stands in the controllers").waitFor();
});

test("a panel keeps the folder that its address once named", async (t) => {
    const page = await visit(t, plant, { role: "operator", path: "/operator?folder=Products" });
    await page.getByRole("button", { name: "Spring500" }).waitFor();
    await page.goto("/");
    await page.getByRole("button", { name: "Spring500" }).waitFor();
});

test("who may not write is not offered to", async (t) => {
    const page = await look(t, { role: "viewer" });
    await page.getByText("The role viewer may not activate recipes.").waitFor();
    assert.equal(await page.writes().count(), 0);
});

for (const [name, reaches] of [
    ["request", false],
    ["answer", true],
]) {
    test(`a lost ${name} is found out about, and nothing is written twice`, async (t) => {
        const page = await look(t);
        page.allowed.push(/ERR_FAILED|409/);
        let lost = 0;
        await page.route(isActivations, async (route) => {
            if (!isWrite(route.request()) || lost++ > 1) {
                return route.continue();
            }
            await (reaches && route.fetch());
            return route.abort();
        });
        const before = await activations();
        await press(page);
        await page.getByText("Whether it is written is not known yet.").waitFor();
        await page.getByText("Lemonade330 stands in the controllers").waitFor();
        assert.equal((await activations()) - before, 1);
        assert.equal(new Set(page.posts.map((post) => post.headers()["idempotency-key"])).size, 1);
    });
}

function isActivations(url) {
    return url.pathname.includes("/activations");
}

test("a request that nobody waits for any more is asked after, and writes nothing late", async (t) => {
    const page = await look(t, { recipe: "Products::Spring500" });
    page.allowed.push(/ERR_FAILED|409/);
    await page.route(isActivations, (route) => route.abort());
    await press(page);
    await page.getByText("Whether it is written is not known yet.").waitFor();
    await page.evaluate(() => {
        const now = Date.now;
        Date.now = () => now() + 20_000;
    });
    await page.unroute(isActivations);
    await page.getByText("What came of it is not known.").waitFor();
    assert.equal(await activations("Products::Spring500"), 0);
    assert.notDeepEqual(await plant.filler.read(speed), [480]);
});

test("a plan that has changed is shown anew, and takes another press", async (t) => {
    const page = await look(t);
    page.allowed.push(/409/);
    await page.writes().waitFor();
    await plant.edit("engineer", "Filling::Lemonade330", { FillerSpeed: 601 });
    await press(page);
    await page.getByText("has changed since you looked").waitFor();
    await page.getByRole("row", { name: /Filler.Speed.*601/ }).waitFor();
    assert.ok(await page.writes().isDisabled());
    assert.deepEqual(await plant.filler.read(speed), [600]);
    await page.getByRole("button", { name: "Go on with the new plan" }).click();
    await press(page);
    await page.getByText("Lemonade330 stands in the controllers").waitFor();
    assert.deepEqual(await plant.filler.read(speed), [601]);
});

test("a device that dies: others are told who writes, a reload finds it again, what failed is copied", async (t) => {
    const page = await look(t, { permissions: ["clipboard-read", "clipboard-write"] });
    const other = await look(t, { role: "operator" });
    [page, other].forEach(({ allowed }) => allowed.push(/409|502/));
    await Promise.all([page, other].map((each) => each.locator("button.write:enabled").waitFor()));
    plant.packer.freeze();
    t.after(() => plant.packer.thaw());
    const before = await activations();
    await press(page);
    await eventually(() => assert.equal(page.posts.length, 1));
    await press(other);
    await other.getByText("the activation of 'Products::Lemonade330' by user:engineer since").waitFor();
    await page.reload();
    await page.verdict.getByText("of 31 values stand as asked").waitFor();
    assert.equal(await activations(), before + 1);
    await page.getByRole("button", { name: "Only what does not stand" }).click();
    await page.getByRole("button", { name: "Copy as a table" }).click();
    const [head, ...rows] = (await page.evaluate(() => navigator.clipboard.readText())).trimEnd().split("\n");
    assert.match(head, /^Symbol\tController\tMember\t/);
    assert.ok(rows.length > 0 && rows.every((row) => /^Labeller|^Packer|^Palletiser/.test(row)), rows.join("\n"));
});

test("what was not tried yet is not written once it is cancelled", async (t) => {
    const page = await look(t);
    page.allowed.push(/409|502/);
    await page.locator("button.write:enabled").waitFor();
    plant.packer.freeze();
    t.after(() => plant.packer.thaw());
    await press(page);
    await page.getByRole("button", { name: "Cancel" }).click();
    await page.verdict.getByText("interrupted after").waitFor();
});
