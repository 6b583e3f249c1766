import { readEntry, readExact } from "./api";
import { fields, rows } from "./json";
import type { Input, Member } from "./shapes";

/** The units of all symbols that a recipe of this type writes, those of nested recipes among them. */
export async function readUnits(recipe: string, signal: AbortSignal): Promise<ReadonlyMap<string, string>> {
    const entry = await readEntry("recipe", recipe, signal);
    const units = new Map<string, string>();
    const types = new Set([entry.value.get("recipeTypeName") as string]);
    // A set is walked through to what was added meanwhile.
    for (const type of types) {
        const answer = await readExact("/members", { type }, signal);
        for (const { symbol, nestedType, input } of rows<Member>(answer.get("members"))) {
            const { unit } = fields<Input>(input);
            if (symbol && unit) {
                units.set(symbol, unit);
            }
            if (nestedType) {
                types.add(nestedType);
            }
        }
    }
    return units;
}
