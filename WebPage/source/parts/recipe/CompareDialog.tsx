import { useEffect, useId, useMemo, useState } from "preact/hooks";
import { count } from "../../data/json";
import { readRecipes, recipes, want } from "../../data/recipes";
import { useStore } from "../../data/store";
import { useAnswer } from "../../data/useAnswer";
import { Dialog } from "../Dialog";
import { Failure, Loading } from "../State";
import { counted, EntryName, Link, Text } from "../Text";
import type { Book } from "./book";
import { readComparison, RowTable } from "./Differences";

/** What activations of two recipes would write, side by side. */
export function CompareDialog({ book, onClose }: { book: Book; onClose: () => void }) {
    const [other, setOther] = useState("");
    return (
        <Dialog title="Compare with another recipe" onClose={onClose} wide>
            <div class="form">
                <RecipePicker
                    label={`Compare ${book.name} with`}
                    type={book.type}
                    except={book.name}
                    onPick={setOther}
                />
                {other === "" ? (
                    <p class="hint">Defaults and nested recipes are compared too.</p>
                ) : (
                    <Compared recipe={book.name} other={other} />
                )}
            </div>
        </Dialog>
    );
}

function Compared({ recipe, other }: { recipe: string; other: string }) {
    const { answer, error, again } = useAnswer((signal) => readComparison(recipe, other, signal), [recipe, other]);
    if (error !== undefined || !answer) {
        return error === undefined ? <Loading what="both" /> : <Failure error={error} retry={again} />;
    }
    const [differs, same] = [count(answer.counts["differs"]), count(answer.counts["same"])];
    return (
        <>
            <p>
                {counted(differs, "symbol differs", "symbols differ")}, {same} same.{" "}
                <Link to="/recipe" query={{ name: other }}>
                    Open <EntryName name={other} />
                </Link>
            </p>
            {answer.rows.length > 0 && (
                <RowTable rows={answer.rows} columns={["stored", "other"]} titles={[recipe, other]} />
            )}
        </>
    );
}

interface RecipePickerProps {
    label: string;
    /** Recipes of this type are offered first. */
    type: string;
    except: string;
    onPick: (name: string) => void;
}

/** A field that takes the name of a recipe and offers those that fit what was typed. */
function RecipePicker({ label, type, except, onPick }: RecipePickerProps) {
    const { items } = useStore(recipes);
    const [text, setText] = useState("");
    const id = useId();
    useEffect(() => want(readRecipes, recipes), []);
    const offered = useMemo(() => {
        const sought = text.toLowerCase();
        const fitting = items.filter(
            ({ kind, name }) => kind === "recipe" && name !== except && name.toLowerCase().includes(sought),
        );
        return [...fitting.filter((item) => item.type === type), ...fitting.filter((item) => item.type !== type)].slice(
            0,
            50,
        );
    }, [items, text, type, except]);
    const input = (event: Event) => {
        const typed = (event.target as HTMLInputElement).value;
        setText(typed);
        onPick(items.some(({ kind, name }) => kind === "recipe" && name === typed && name !== except) ? typed : "");
    };
    return (
        <label>
            <Text>{label}</Text>
            <input
                type="text"
                list={id}
                autocomplete="off"
                spellcheck={false}
                placeholder="Name of a recipe"
                value={text}
                onInput={input}
            />
            <datalist id={id}>
                {offered.map(({ name }) => (
                    <option value={name} />
                ))}
            </datalist>
        </label>
    );
}
