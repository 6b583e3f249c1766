// Takes pictures of the page's main views, in light and dark, on three devices: node screenshots.mjs DIR [NAME…], those
// views alone whose names are given. It serves what the demonstration of the page serves. The pictures page-*.png are
// those of Documentation/pictures, to be copied there.
import { mkdir } from "node:fs/promises";
import { join } from "node:path";
import { launch, open } from "./support/browser.mjs";
import { deviceProgram, examples, Process, ravikProgram } from "./support/Process.mjs";
import { settled, views } from "./support/views.mjs";

/** Who has the role in the demonstration. */
const people = { viewer: "vera", operator: "olga", engineer: "erik", admin: "anna" };
const devices = {
    desktop: { viewport: { width: 1440, height: 900 } },
    tablet: { viewport: { width: 1024, height: 768 }, hasTouch: true },
    phone: { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true, deviceScaleFactor: 2 },
};
const sheet = { viewport: { width: 1200, height: 640 } };
/** What the documentation shows, by the picture's name: a view, and how. */
const documented = {
    "page-recipes": { view: "recipes", ...sheet },
    "page-recipe": { view: "recipe", ...sheet },
    "page-dark": { view: "recipe", ...sheet, colorScheme: "dark" },
    "page-plan": { view: "plan", ...sheet },
    "page-operator": { view: "operator", ...sheet, press: "Spring500" },
    "page-operator-phone": { view: "operator-plan", ...devices.phone, deviceScaleFactor: 1 },
    "page-symbols": { view: "symbols", ...sheet },
    "page-history": { view: "history", ...sheet },
    // The last, since it writes.
    "page-outcome": { view: "plan", ...sheet, press: /^Write \d+ values/, then: "Its record" },
};

const [folder, ...names] = process.argv.slice(2);
if (!folder) {
    console.error("usage: node screenshots.mjs DIR [NAME…]");
    process.exit(2);
}
await mkdir(folder, { recursive: true });
const demo = new Process(join(examples, "demo_page.sh"), [ravikProgram, deviceProgram]);
const [, origin] = await demo.printed(/The page is at (http:\S+)\/\n/);
await demo.printed(/Ctrl\+C/);
const browser = await launch();
try {
    const isAsked = (name) => names.length === 0 || names.includes(name);
    for (const view of views.filter(({ name }) => isAsked(name))) {
        await takePictures(view);
    }
    for (const [name, picture] of Object.entries(documented).filter(([, { view }]) => isAsked(view))) {
        await takeDocumented(name, picture);
    }
} finally {
    await browser.close();
    await demo.end("SIGTERM");
}

async function takePictures(view) {
    await Promise.all(
        Object.entries(devices).map(async ([device, options]) => {
            const page = await openView(view, options);
            for (const colorScheme of ["light", "dark"]) {
                await page.emulateMedia({ colorScheme });
                await page.screenshot({ path: join(folder, `${view.name}-${device}-${colorScheme}.png`) });
            }
            await page.context().close();
        }),
    );
    console.log(view.name);
}

async function takeDocumented(name, { view, press, then, ...options }) {
    const page = await openView(
        views.find((each) => each.name === view),
        options,
    );
    if (press) {
        await page.getByRole("button", { name: press }).click();
        await page.mouse.move(0, 0);
    }
    if (then) {
        await page.getByText(then).waitFor();
    }
    await page.screenshot({ path: join(folder, `${name}.png`) });
    await page.context().close();
    console.log(name);
}

async function openView(view, options) {
    const user = people[view.role];
    const [, password] = new RegExp(`^ +${user} .* (\\S+)$`, "m").exec(demo.output) ?? [];
    const page = await open(browser, origin, { path: view.path, user, password, reducedMotion: "reduce", ...options });
    await settled(page, view);
    // Live values come a moment later.
    await page.waitForLoadState("networkidle");
    return page;
}
