// What the page costs with 10,000 recipes and 10,000 symbols: node page.mjs. It prints a table and fails where a mark
// is missed. The marks hold on a machine that has nothing else to do; the last column tells its load.
import { writeFile } from "node:fs/promises";
import { loadavg } from "node:os";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import { launch, open } from "../../Tests/WebPage/support/browser.mjs";
import { password, Plant } from "../../Tests/WebPage/support/Plant.mjs";
import { views } from "../../Tests/WebPage/support/views.mjs";

const recipeCount = 10_000;
const symbolCount = 10_000;
/** The members of one recipe: with this poll 1,250 of its values change in a second. */
const wideCount = 500;
const poll = "400 ms";
const kB = 1000;

let missed = 0;

function row(what, figure, unit, mark = undefined, isKept = figure <= mark) {
    const verdict = mark === undefined ? "" : `mark ${String(mark).padStart(6)}  ${isKept ? "kept" : "MISSED"}`;
    missed += mark !== undefined && !isKept;
    const columns = [what.padEnd(66), figure.toFixed(2).padStart(9), unit.padEnd(3), verdict.padEnd(20)];
    console.log(...columns, `load ${loadavg()[0].toFixed(1)}`);
}

// The project ---------------------------------------------------------------------------------------------------------

const numbered = (name, number) => name + String(number).padStart(5, "0");
const fromEntries = (count, entry) => Object.fromEntries(Array.from({ length: count }, (_, number) => entry(number)));

/** Every symbol changes by itself, all but those that the many recipes write. */
function symbol(number, { written }) {
    const domain = number % 2 === 0 ? "Filler" : "Packer";
    const mapping = `${written ? "holding" : "input"}:${1000 + 2 * Math.floor(number / 2)}:real32`;
    return { DOMAIN: domain, MAPPING: mapping, USEMAPPING: true, SCHEMA: { type: "number", unit: "bar" } };
}

async function manyOfAll(folder, { filler, packer }) {
    const modbus = (domain, { port }) => ({
        domain,
        library: "libRavikModbus.so",
        configuration: { host: "127.0.0.1", port, timeoutMs: 500 },
    });
    const symbols = (name, count, { written }) =>
        fromEntries(count, (number) => [numbered(name, number), symbol(number, { written })]);
    const live = symbols("Line.Value", symbolCount - 10, { written: false });
    const written = symbols("Line.Set", 10, { written: true });
    const settings = {
        extensions: [
            { domain: "RavikRecipeManagement", library: "libRavikRecipeManagement.so" },
            modbus("Filler", filler),
            modbus("Packer", packer),
        ],
        service: { poll },
        symbols: { ...live, ...written },
    };
    await writeFile(join(folder, "ravik.json"), JSON.stringify(settings));
    await writeFile(join(folder, "recipes.json"), JSON.stringify(recipes()));
}

function recipes() {
    const type = (name, count) => ({
        members: fromEntries(count, (number) => [
            numbered("Member", number),
            { symbol: numbered(name, number), defaultValue: 1.5, enabled: true },
        ]),
    });
    const recipe = (recipeTypeName, count) => ({
        recipeTypeName,
        values: fromEntries(count, (number) => [numbered("Member", number), 1.5 + number]),
    });
    const folders = fromEntries(100, (folder) => [
        numbered("Folder", folder),
        fromEntries(recipeCount / 100, (number) => [numbered("Recipe", folder * 100 + number), recipe("Small", 10)]),
    ]);
    return {
        recipeTypeList: { Small: type("Line.Set", 10), Wide: type("Line.Value", wideCount) },
        recipeList: { ...folders, Wide: recipe("Wide", wideCount) },
    };
}

// What is measured ----------------------------------------------------------------------------------------------------

const median = (figures) => figures.sort((one, other) => one - other)[Math.floor(figures.length / 2)];
const sum = (figures) => figures.reduce((total, figure) => total + figure, 0);
const seconds = (count) => new Promise((resolve) => setTimeout(resolve, count * 1000));
const firstRow = "[role=treegrid] [aria-rowindex='2']";

/** From the asking for the page until its first rows are drawn, in a browser that has kept nothing of it. */
async function timeOfRows(path) {
    const page = await open(browser, origin, { user: "engineer", password, path: "/icon.svg" });
    await page.addInitScript((selector) => {
        const look = () =>
            document.querySelector(selector)
                ? requestAnimationFrame(() => setTimeout(() => (globalThis.rowsAt = performance.now())))
                : requestAnimationFrame(look);
        look();
    }, firstRow);
    await page.goto(path);
    const time = await (await page.waitForFunction(() => globalThis.rowsAt)).jsonValue();
    await page.context().close();
    return time;
}

async function firstViews() {
    for (const path of ["/recipes", "/symbols"]) {
        const times = [];
        while (times.length < 5) {
            times.push(await timeOfRows(path));
        }
        row(`${path} with 10,000: the first rows stand, median of five`, median(times) / 1000, "s", 1);
    }
}

/** Who goes to a view waits for what it reads from a cold start: its own script, and what it shares with others. */
async function scriptSizes() {
    const sizes = new Map();
    for (const { path, role } of views) {
        const page = await open(browser, origin, { user: role, password, path });
        await page.waitForFunction(() => document.querySelector("main") && !document.querySelector(".starting"));
        const scripts = await page.evaluate(() =>
            performance
                .getEntriesByType("resource")
                .map(({ name }) => name)
                .filter((name) => name.endsWith(".js")),
        );
        await page.context().close();
        for (const script of scripts.filter((each) => !sizes.has(each))) {
            sizes.set(script, gzipSync(await (await fetch(script)).text(), { level: 9 }).length / kB);
        }
        row(`script of ${path.split("?")[0]}, compressed`, sum(scripts.map((script) => sizes.get(script))), "kB", 40);
    }
    row("script of all views together, for whoever goes to each one", sum([...sizes.values()]), "kB");
}

/** A page whose long tasks, work and received values are counted. */
async function measuredPage(path) {
    const page = await open(browser, origin, { user: "engineer", password, path });
    await page.locator(firstRow).waitFor();
    await page.evaluate(() => {
        globalThis.longest = 0;
        const observer = new PerformanceObserver((list) =>
            list.getEntries().forEach(({ duration }) => (globalThis.longest = Math.max(globalThis.longest, duration))),
        );
        observer.observe({ type: "longtask" });
    });
    const cdp = await page.context().newCDPSession(page);
    let values = 0;
    cdp.on("Network.webSocketFrameReceived", ({ response }) => {
        values += Object.keys(JSON.parse(response.payloadData).values ?? {}).length;
    });
    await cdp.send("Network.enable");
    await cdp.send("Performance.enable");
    const metric = async (wanted) => {
        const { metrics } = await cdp.send("Performance.getMetrics");
        return metrics.find(({ name }) => name === wanted).value;
    };
    return {
        page,
        valueCount: () => values,
        taskTime: () => metric("TaskDuration"),
        longestTask: () => page.evaluate(() => globalThis.longest),
        heap: async () => {
            await cdp.send("HeapProfiler.collectGarbage");
            return metric("JSHeapUsedSize");
        },
    };
}

/** The processor time of all processes that draw pages: script, layout and painting. */
async function rendererTime() {
    const { processInfo } = await (await browser.newBrowserCDPSession()).send("SystemInfo.getProcessInfo");
    return processInfo.filter(({ type }) => type === "renderer").reduce((sum, { cpuTime }) => sum + cpuTime, 0);
}

async function watching(what, path, leastValues) {
    const measured = await measuredPage(path);
    await seconds(3);
    const before = [await measured.taskTime(), await rendererTime(), measured.valueCount()];
    const begin = performance.now();
    await seconds(10);
    const elapsed = (performance.now() - begin) / 1000;
    const after = [await measured.taskTime(), await rendererTime(), measured.valueCount()];
    const [tasks, processor, values] = after.map((figure, index) => (figure - before[index]) / elapsed);
    row(`${what}: values that come a second`, values, "", leastValues, values >= leastValues);
    row("  share of a core that its tasks take", tasks, "", 0.2);
    row("  that its process takes, drawing included", processor, "");
    return measured;
}

/** Key by key, then up and down through what is found, which are so many rows. */
async function filterAndScroll({ page }, text, rowCount) {
    await page.keyboard.press("/");
    await page.keyboard.type(text, { delay: 50 });
    const grid = page.getByRole("treegrid");
    await page.locator(`[role=treegrid][aria-rowcount='${rowCount + 1}']`).waitFor();
    await grid.hover();
    await scroll(page, 300);
    await scroll(page, rowCount);
    const last = Number(await grid.getByRole("row").last().getAttribute("aria-rowindex"));
    if (last !== rowCount + 1) {
        throw new Error(`the last row in sight should be ${rowCount + 1}, not ${last}`);
    }
    await scroll(page, -rowCount);
    await page.keyboard.press("/");
    await page.keyboard.press("Control+A");
    await page.keyboard.press("Delete");
    await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve))));
}

/** Turns the wheel, so far in each of many frames. */
async function scroll(page, distance) {
    for (let frame = 0; frame < 60; ++frame) {
        await page.mouse.wheel(0, distance);
        await page.evaluate(() => new Promise(requestAnimationFrame));
    }
}

async function view(what, path, [text, rowCount], leastValues) {
    const measured = await watching(what, path, leastValues);
    await filterAndScroll(measured, text, rowCount);
    row("  longest task while filtering and scrolling", await measured.longestTask(), "ms", 50);
    row("  heap", (await measured.heap()) / kB / kB, "MB", 25);
    await measured.page.context().close();
}

const plant = await Plant.start(manyOfAll);
const origin = `http://127.0.0.1:${plant.port}`;
const browser = await launch();
try {
    await scriptSizes();
    await firstViews();
    await view("10,000 recipes", "/recipes", ["recipe0", recipeCount + 100]);
    await view("10,000 symbols, all of which change", "/symbols", ["line.value", symbolCount - 10]);
    await view(`a recipe of ${wideCount} members that all change`, "/recipe?name=Wide", ["member", wideCount], 1000);
} finally {
    await browser.close();
    await plant.end();
}
process.exitCode = missed > 0 ? 1 : 0;
