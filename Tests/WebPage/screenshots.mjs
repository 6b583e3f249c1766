// Takes pictures of the page's main views, in light and dark, on three devices: node screenshots.mjs DIR [NAME…], those
// views alone whose names are given. It serves what the demonstration of the page serves.
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
    for (const view of views.filter(({ name }) => names.length === 0 || names.includes(name))) {
        await takePictures(view);
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

async function openView(view, options) {
    const user = people[view.role];
    const [, password] = new RegExp(`^ +${user} .* (\\S+)$`, "m").exec(demo.output) ?? [];
    const page = await open(browser, origin, { path: view.path, user, password, reducedMotion: "reduce", ...options });
    await settled(page, view);
    // Live values come a moment later.
    await page.waitForLoadState("networkidle");
    return page;
}
