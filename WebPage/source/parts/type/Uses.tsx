import { readPlain } from "../../data/api";
import { revision } from "../../data/live";
import { useStore } from "../../data/store";
import { useAnswer } from "../../data/useAnswer";
import { PathLink } from "../PathLink";
import { Failure } from "../State";
import { counted, Link } from "../Text";

export interface Used {
    uses: { path: string; kind: string }[];
    /** Those of types that inherit from it, too. */
    recipes?: number;
}

export function useUses(type: string) {
    const { configuration } = useStore(revision);
    return useAnswer((signal) => readPlain<Used>("/uses", { type }, signal), [type, configuration]);
}

const kinds: Record<string, string> = { "inherited type": "inherits from it", "nested type": "nests it" };

/** Which types are built on this one, and how many recipes it has. */
export function Uses({ type, used: { answer, error, again } }: { type: string; used: ReturnType<typeof useUses> }) {
    if (!answer) {
        return error === undefined ? null : <Failure error={error} retry={again} />;
    }
    const { uses, recipes = 0 } = answer;
    return (
        <section class="uses" aria-label="Where it is used">
            <h2>Where it is used</h2>
            <p>
                {recipes === 0 ? (
                    "No recipe is of this type."
                ) : (
                    <Link to="/recipes" query={{ type }}>
                        {counted(recipes, "recipe")}
                    </Link>
                )}
            </p>
            {uses.length === 0 ? (
                <p class="quiet-text">No type inherits from it or nests it.</p>
            ) : (
                <ul>
                    {uses.map(({ path, kind }) => (
                        <li key={kind + path}>
                            <PathLink path={path} /> <span class="quiet-text">{kinds[kind] ?? kind}</span>
                        </li>
                    ))}
                </ul>
            )}
        </section>
    );
}
