import { useEffect } from "preact/hooks";
import { readRecipes, readTypes, recipes, types, want } from "../data/recipes";
import { useStore } from "../data/store";
import { EntryName, Link, Text } from "./Text";

interface Entry {
    to: string;
    name: string;
    /** The place inside the entry. */
    inside: string;
}

const insides = /::(values|members|recipeTypeNames?)(?=::|\[|$)/g;

/** The recipe or type that a full path leads to; `undefined` where it leads to none that there is. */
export function entryOf(path: string): Entry | undefined {
    const [list, ...rest] = path.split("::");
    const whole = rest.join("::");
    if (whole === "" || (list !== "recipeList" && list !== "recipeTypeList")) {
        return undefined;
    }
    const [to, all] = list === "recipeList" ? (["/recipe", recipes.value] as const) : (["/type", types.value] as const);
    // A folder may be called "values", too: of several ends the first one counts that an entry has.
    const ends = [...[...whole.matchAll(insides)].map(({ index }) => index), whole.length];
    const end = ends.find((at) => namesOf(all.items).has(whole.slice(0, at)));
    return end === undefined
        ? undefined
        : {
              to,
              name: whole.slice(0, end),
              inside: whole.slice(end).replace(/^::(values|members)?(::)?/, ""),
          };
}

const namesOfItems = new WeakMap<object, Set<string>>();

/** Made once for each list that was read. */
function namesOf(items: { name: string; kind: string }[]): Set<string> {
    const names =
        namesOfItems.get(items) ?? new Set(items.filter(({ kind }) => kind !== "folder").map(({ name }) => name));
    namesOfItems.set(items, names);
    return names;
}

/** A place of the configuration, with a link to the recipe or type that it stands in. */
export function PathLink({ path }: { path: string }) {
    const isOfType = path.startsWith("recipeTypeList");
    useStore<unknown>(isOfType ? types : recipes);
    useEffect(() => (isOfType ? want(readTypes, types) : want(readRecipes, recipes)), [isOfType]);
    const entry = entryOf(path);
    if (!entry) {
        return <Text>{path}</Text>;
    }
    return (
        <>
            <Link to={entry.to} query={{ name: entry.name }}>
                <EntryName name={entry.name} />
            </Link>
            {entry.inside && (
                <>
                    {" "}
                    <span class="quiet-text">
                        <Text>{entry.inside}</Text>
                    </span>
                </>
            )}
        </>
    );
}
