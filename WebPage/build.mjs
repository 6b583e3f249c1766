// Bundles the page into a folder: node build.mjs FOLDER. What stands there afterwards is all that is served, and
// paths.txt names the addresses that are answered with index.html.
import { build } from "esbuild";
import { mkdir, readFile, rm, writeFile } from "node:fs/promises";
import { basename, dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const folder = process.argv[2];
if (!folder) {
    console.error("usage: node build.mjs FOLDER");
    process.exit(2);
}
const source = join(dirname(fileURLToPath(import.meta.url)), "source");

await rm(folder, { recursive: true, force: true });
await mkdir(folder, { recursive: true });
const result = await build({
    entryPoints: [join(source, "main.tsx")],
    outdir: folder,
    entryNames: "page-[hash]",
    bundle: true,
    minify: true,
    format: "esm",
    target: "es2022",
    jsx: "automatic",
    jsxImportSource: "preact",
    legalComments: "none",
    charset: "utf8",
    metafile: true,
    logLevel: "warning",
});
const built = Object.keys(result.metafile.outputs).map((path) => basename(path));
const of = (ending) => built.find((name) => name.endsWith(ending));
const html = await readFile(join(source, "index.html"), "utf8");
await writeFile(join(folder, "index.html"), html.replace("page.css", of(".css")).replace("page.js", of(".js")));
await writeFile(join(folder, "icon.svg"), await readFile(join(source, "icon.svg")));
const { paths } = JSON.parse(await readFile(join(source, "views.json"), "utf8"));
await writeFile(join(folder, "paths.txt"), paths.join("\n") + "\n");
