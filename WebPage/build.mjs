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
    chunkNames: "view-[hash]",
    bundle: true,
    splitting: true,
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
const outputs = Object.entries(result.metafile.outputs).map(([path, output]) => ({ ...output, name: basename(path) }));
const script = outputs.find(({ name, entryPoint }) => entryPoint?.endsWith("main.tsx") && name.endsWith(".js"));
const style = outputs.find(({ name }) => name.endsWith(".css"));
// What the script begins with is asked for together with it.
const first = script.imports
    .filter(({ kind }) => kind === "import-statement")
    .map(({ path }) => `<link rel="modulepreload" href="/${basename(path)}">\n`);
const html = await readFile(join(source, "index.html"), "utf8");
await writeFile(
    join(folder, "index.html"),
    html
        .replace("page.css", style.name)
        .replace("page.js", script.name)
        .replace("</head>", first.join("") + "</head>"),
);
await writeFile(join(folder, "icon.svg"), await readFile(join(source, "icon.svg")));
const { paths } = JSON.parse(await readFile(join(source, "views.json"), "utf8"));
await writeFile(join(folder, "paths.txt"), paths.join("\n") + "\n");
