// Makes a C++ source of the bundled page: node embed.mjs FOLDER SOURCE. It defines what embedded_page.h declares, for
// the files that build.mjs has written into the folder.
import { createHash } from "node:crypto";
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { extname, join } from "node:path";
import { gzipSync } from "node:zlib";

const contentTypes = {
    ".css": "text/css; charset=utf-8",
    ".html": "text/html; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
    ".svg": "image/svg+xml",
};
const index = "index.html";
const pathList = "paths.txt";

const [folder, source] = process.argv.slice(2);
if (!source) {
    console.error("usage: node embed.mjs FOLDER SOURCE");
    process.exit(2);
}

const views = readFileSync(join(folder, pathList), "utf8").split("\n").filter(Boolean);
const names = readdirSync(folder)
    .filter((name) => name !== pathList)
    .sort();
if (!names.includes(index) || !views.includes("/")) {
    throw new Error(`${folder} needs an ${index}, and ${pathList} the path "/"`);
}
const files = names.map((name) => readFile(name));
writeFileSync(source, sourceOf(files));

function readFile(name) {
    const contentType = contentTypes[extname(name)];
    if (!contentType) {
        throw new Error(`${name}: no content type is known for files of this kind`);
    }
    const bytes = readFileSync(join(folder, name));
    const gzip = gzipSync(bytes, { level: 9 });
    return {
        paths: name === index ? views : [`/${name}`],
        contentType,
        bytes,
        gzip: gzip.length < bytes.length ? gzip : Buffer.alloc(0),
        hash: createHash("sha256").update(bytes).digest("hex").slice(0, 16),
        isHashed: /-[0-9A-Z]{8}\.[a-z]+$/.test(name),
    };
}

function sourceOf(files) {
    const entries = files.flatMap((file, number) => file.paths.map((path) => entryOf(file, number, path)));
    return `// NOLINTBEGIN: made by embed.mjs
#include "embedded_page.h"

#include <array>

namespace Ravik::WebPage
{
namespace
{

${files.map((file, number) => arrayOf(`bytes_${number}`, file.bytes) + arrayOf(`gzip_${number}`, file.gzip)).join("")}
constexpr std::array<EmbeddedFile, ${entries.length}> files{{
${entries.join("")}}};

} // namespace

std::span<EmbeddedFile const> embedded_page() noexcept
{
    return files;
}

} // namespace Ravik::WebPage
// NOLINTEND
`;
}

// Numbers, since compilers need not take a literal as long as these.
function arrayOf(name, bytes) {
    const lines = [];
    for (let place = 0; place < bytes.length; place += 64) {
        lines.push(bytes.subarray(place, place + 64).join(",") + ",\n");
    }
    return `constexpr std::array<unsigned char, ${bytes.length}> ${name}{{\n${lines.join("")}}};\n`;
}

function entryOf({ contentType, hash, isHashed }, number, path) {
    return `    {${JSON.stringify(path)}, "${contentType}", bytes_${number}, gzip_${number}, "${hash}", ${isHashed}},\n`;
}
