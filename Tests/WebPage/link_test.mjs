import test from "node:test";
import { startPlant, visit } from "./support/test_file.mjs";

const plant = await startPlant();

for (const [name, lose] of [
    ["cut", (link) => link.cut()],
    ["frozen", (link) => link.freeze()],
]) {
    test(`a link that is ${name} is told, and so is its return`, async (t) => {
        const page = await visit(t, plant, { role: "engineer", path: "/recipes" });
        page.allowed.push(/ERR_|WebSocket/);
        await page.getByText("● linked").waitFor();
        lose(page.link);
        await page.getByRole("alert").getByText("Link lost.").waitFor({ timeout: 3000 });
        page.link.restore();
        await page.getByText("● linked").waitFor();
        await page.getByRole("alert").waitFor({ state: "detached" });
    });
}
